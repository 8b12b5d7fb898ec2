/// @file ZVImagePreviewManager.h
/// @brief On-screen previews of the print modes and the content bounding box.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <functional>
#include <optional>

/// Renders what an image will look like in each print mode, for display only
/// (the print data itself comes from ZVBitmapManager). Stateless; every
/// operation may run on any thread, also several at once.
///
/// Pixel buffers of getPixel() and setPixel() hold one 32-bit value per
/// pixel, rows top first, no padding: red in bits 24..31, green 16..23, blue
/// 8..15; the low byte (alpha or unused) is never changed by them.
///
/// Previews are built from the image drawn with premultiplied alpha, so
/// transparent areas read as black; where a preview keeps the drawn alpha, the
/// returned straight-RGBA image is un-premultiplied from that buffer.
class ZV_EXPORT ZVImagePreviewManager {
public:
  ZVImagePreviewManager() = delete;

  /// Two-level preview with the Otsu threshold, at the image's size in points
  /// (truncated). The threshold is computed over the first width x height
  /// bytes of the gray levels of the whole bitmap, so an image whose scale is
  /// not 1 gets a threshold from part of its bitmap (bytes missing when the
  /// scale is below 1 count as 0). std::nullopt when the size in points is
  /// below one in a side.
  static std::optional<ZVImage> binaryPreviewWithImage(const ZVImage &image);

  /// Two-colour Floyd-Steinberg preview, at the image's size in points
  /// (truncated); opaque black and white. std::nullopt only when the size in
  /// points is below one in a side (the empty image).
  static std::optional<ZVImage> ditheringPreviewWithImage(const ZVImage &image);

  /// Gray-scale preview at the bitmap's pixel size: power-law gamma @p fGamma
  /// (taken in single precision), 5 x 5 Laplacian sharpening with strength 14
  /// and error diffusion to 16 gray levels chosen by the bitmap width (384 and
  /// 432, 640, others). @p gammaType is accepted and not used: the power law
  /// is always applied. Bitmaps higher than 5000 rows are previewed as well.
  static std::optional<ZVImage> grayScalePreviewWithImage(const ZVImage &image, double fGamma,
                                                          bool gammaType);

  /// Gray levels of the bitmap, pixel width x height bytes, 0 black:
  /// truncate(0.11448 R + 0.58661 G + 0.29891 B) in double precision,
  /// evaluated left to right, on premultiplied colour (transparent = 0).
  static ZVData graylevel256Datas(const ZVImage &image);

  /// 1 (white) when the colour is at least as far from black as from white
  /// in squared RGB distance, else 0 (black); a tie goes to white.
  static int64_t getNearstColor(uint8_t r, uint8_t g, uint8_t b);

  /// The pixel at (@p row, @p column) with trunc(@p rate x eRgb[k]) (single
  /// precision) added to red, green and blue, each clamped to 0..255; the low
  /// byte is kept. 0xFFFFFFFF when the place is outside the image.
  /// @p eRgb points to three values: red, green and blue error.
  static uint32_t getPixel(const uint32_t *pixels, int32_t width, int32_t height, int32_t row,
                           int32_t column, float rate, const int32_t *eRgb);

  /// Stores @p value at (@p row, @p column); does nothing outside the image.
  static void setPixel(uint32_t *pixels, int32_t width, int32_t height, int32_t row, int32_t column,
                       uint32_t value);

  /// An opaque gray image of @p width x (size / width) pixels; std::nullopt
  /// when @p width is 0, the size is not a multiple of it, or it is empty.
  static std::optional<ZVImage> imageWithGraylevel256Data(const ZVData &data, uint64_t width);

  /// Bounds of the content (pixels other than transparent and opaque pure
  /// white) in pixels of the scaled bitmap. The width is computed in unsigned
  /// 64-bit arithmetic as right - left + 1, the height likewise; an image
  /// without content thus has a width (or height) larger than the bitmap, for
  /// bitmaps wider (higher) than 2 pixels: treat that as "no content".
  static ZVRect removeWhiteAreaData(const ZVImage &image);
};

/// Receives premultiplied RGBA pixels (R first in memory, alpha last), rows
/// top first, stride 4 x @p width; the buffer lives only for the call.
/// @p width or @p height may be 0, and then @p rgba holds nothing.
using ZVRGBAPixelsCallback =
    std::function<void(const uint8_t *rgba, uint32_t width, uint32_t height)>;

/// Draws @p image into a zeroed buffer of trunc(size.width x scale) x
/// trunc(size.height x scale) pixels (its bitmap, up to rounding), row 0 at
/// the top, and calls @p callback with it. An empty callback is skipped.
ZV_EXPORT void UIImageGetRGBAPixels(const ZVImage &image, const ZVRGBAPixelsCallback &callback);
