/// @file ZVAlgorithmManager.h
/// @brief Image-to-raster conversions: gray levels, binarisation, dithering,
/// print-data assembly and tone operations.
#pragma once

#include <zvprinter/ZVBitmapSlice.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <vector>

/// Stateless conversions; every operation may run on any thread.
///
/// Rasters are 1 bit per pixel, ((width + 7) / 8) bytes per row, leftmost
/// pixel in the most significant bit, rows top first. Print data of the
/// threshold and error-diffusion modes is inverted (0 = dot); the clustered
/// mode's is not.
///
/// Compress mode 48 ('0') selects LZO1X, 0 the raw raster; any other value
/// gives an empty buffer. With LZO, @p package cuts the raster into framed
/// row blocks (12-byte header each); without it the whole raster is one
/// stream with no header.
class ZV_EXPORT ZVAlgorithmManager {
public:
  ZVAlgorithmManager() = delete;

  // Gray levels: width x height bytes, 0 black .. 255 white.

  /// Gray levels with the histogram weighting, truncated:
  /// R x 0.11448 + (G x 0.58661 + B x 0.29891) in double precision, of the
  /// premultiplied pixel (alpha ignored: transparent is 0). The input of the
  /// Otsu search.
  static ZVData graylevel256Datas(const ZVImage &image);
  /// Gray levels as a gray colour space would draw them (Rec. 601 luma of the
  /// image composited onto black, rounded).
  static ZVData systemGraylevel256Datas(const ZVImage &image);
  /// Gray levels with the print weighting, truncated:
  /// B x 0.11448 + (G x 0.58661 + R x 0.29891) in double precision, alpha
  /// ignored. An image exactly 432 pixels wide is first drawn (bilinearly
  /// resampled) at trunc(1.5 x height) rows.
  static ZVData hdImage256Datas(const ZVImage &image);
  /// Gray levels with the print weighting, alpha ignored; with @p reverse
  /// each byte is complemented (255 - gray), so transparent pixels give 255.
  static ZVData generateCluserGaryDatas(const ZVImage &image, bool reverse);

  // Binarisation (mode 0).

  /// Print data of the threshold mode (0 = dot): a pixel prints when its
  /// alpha is 255 and its print-weighted gray is at most the threshold, the
  /// Otsu threshold of graylevel256Datas, or @p threshold when @p custom is
  /// set. std::nullopt when the image cannot be drawn.
  static std::optional<ZVData> generateBinaryData(const ZVImage &image, int64_t compress,
                                                  bool package, bool custom, uint8_t threshold);
  /// The Otsu-thresholded raster (1 = dot) as numbered frames.
  static std::optional<std::vector<ZVBitmapSlice>> generateBinaryArray(const ZVImage &image);
  /// Complements @p memoryLength bytes in place; nothing when it is below 1.
  /// Returns @p buffer.
  static uint8_t *negativeBuffer(uint8_t *buffer, int32_t memoryLength);

  // Error diffusion (mode 1) and clustered dot (mode 2).

  /// Print data of Floyd-Steinberg error diffusion (0 = dot) of the gray
  /// B x 0.11 + (G x 0.59 + R x 0.3), rows left to right; pixels not fully
  /// opaque enter as white. The two leftmost columns pass no error down-left,
  /// and the last width % 8 pixels of each row are never printed.
  /// std::nullopt when the image cannot be drawn.
  static std::optional<ZVData> generateDitheringData(const ZVImage &image, int64_t compress,
                                                     bool package);
  /// The error-diffusion raster (1 = dot) as numbered frames.
  static std::optional<std::vector<ZVBitmapSlice>> generateDitheringArray(const ZVImage &image);
  /// Print data of the clustered-dot mode (1 = dot, not inverted):
  /// ZVBayerCluster over generateCluserGaryDatas(image, true).
  static std::optional<ZVData> generateCLosureData(const ZVImage &image, int64_t compress,
                                                   bool package);
  /// The clustered-dot raster (1 = dot) as numbered frames.
  static std::optional<std::vector<ZVBitmapSlice>> generateClusterArray(const ZVImage &image);

  // Print-data assembly. @p bitmap must hold @p memoryLength bytes.

  /// Raw copy, one LZO1X stream, or framed row blocks, by @p compressMod and
  /// @p packeage; empty for an unknown compress mode, a null @p bitmap or a
  /// length below 1, and, for framed blocks, a width or height below 1.
  /// Blocks hold 30 rows (16 when a row has 49 bytes or more), or all rows
  /// when there are fewer than 17; block byte ranges follow @p memoryLength,
  /// header row counts follow @p height. Header fields keep their low 16 bits.
  static ZVData managerData(const uint8_t *bitmap, int32_t memoryLength, int32_t bitmapWidth,
                            int32_t height, int64_t compressMod, bool packeage);
  /// The framed row blocks of managerData as numbered slices (serial from 0);
  /// empty in the same cases as framed managerData.
  static std::vector<ZVBitmapSlice> generateBitmapSlices(const uint8_t *bitmap,
                                                         int32_t memoryLength, int32_t bitmapWidth,
                                                         int32_t height);

  // Tone operations.

  /// 3 x 3 sharpening of the image drawn at its size in points (scale 1).
  static std::optional<ZVImage> imageToSharpen(const ZVImage &image);
  /// The image drawn at its size in points with opaque pure white made
  /// transparent.
  static std::optional<ZVImage> imageToTransparent(const ZVImage &image);
};
