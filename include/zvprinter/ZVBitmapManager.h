/// @file ZVBitmapManager.h
/// @brief The public entry for turning images into print data and previews.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>

/// Stateless; every operation may run on any thread.
///
/// Modes: 0 threshold (Otsu), 1 error diffusion, 2 clustered dot; any other
/// mode gives an empty buffer. Compress: 48 LZO1X, 0 raw, anything else an
/// empty buffer. Package (with LZO only): framed row blocks.
/// std::nullopt means the image could not be drawn.
class ZV_EXPORT ZVBitmapManager {
public:
  ZVBitmapManager() = delete;

  /// The image below a white band 16 points high (24 when the image is 500
  /// points wide or more), on an opaque white canvas at one pixel per point.
  /// Sides that are not whole points are rounded up; an image whose scale is
  /// not 1 is resampled to its size in points.
  static std::optional<ZVImage> puzzleImageWithBottomImage(const ZVImage &image);

  /// Print data for @p mode, after adding the white band when @p watermark.
  static std::optional<ZVData> generateGenralDataWithImage(const ZVImage &image, bool watermark,
                                                           int64_t mode, int64_t compress,
                                                           bool package);
  /// As generateGenralDataWithImage with compress 0: the inverted raw raster.
  static std::optional<ZVData> generateBitmapDataWithImage(const ZVImage &image, bool watermark,
                                                           int64_t mode);

  /// ZVAlgorithmManager::generateBinaryData with the same arguments.
  static std::optional<ZVData> generateBinaryData(const ZVImage &image, int64_t compress,
                                                  bool isPackage, bool custom, uint8_t threshold);
  /// ZVAlgorithmManager::generateDitheringData with the same arguments.
  static std::optional<ZVData> generateDitheringData(const ZVImage &image, int64_t compress,
                                                     bool isPackage);
  /// ZVAlgorithmManager::generateCLosureData with the same arguments.
  static std::optional<ZVData> generateClosureData(const ZVImage &image, int64_t compress,
                                                   bool isPackage);
  /// Threshold print data with a fixed @p threshold, never framed.
  static std::optional<ZVData> printableBinaryData(const ZVImage &image, uint8_t threshold,
                                                   int64_t compress);

  /// An image showing how @p mode will print: 0 threshold, 1 error diffusion,
  /// anything else gray scale with gamma @p fGamma.
  static std::optional<ZVImage> generateRenderingWithImage(const ZVImage &image, int64_t mode,
                                                           double fGamma, bool gammaType);
  static std::optional<ZVImage> imageToSharpen(const ZVImage &image);
  static std::optional<ZVImage> imageToTransparent(const ZVImage &image);
  /// Bounds of the non-white content, in pixels of the scaled bitmap.
  static ZVRect contentInImage(const ZVImage &image);
};
