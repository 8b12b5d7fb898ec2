// Two-level preview with the Otsu threshold of the preview's gray levels.

#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "imaging/point_size.h"
#include "preview/drawn_pixels.h"
#include "preview/gray_formula.h"

#include <algorithm>
#include <array>
#include <memory>

namespace {

// The threshold is searched over width x height gray bytes at the size in
// points, while the gray levels cover the bitmap. With a scale above 1 the
// first width x height bytes take part; below 1 the bitmap is smaller than
// that, and the missing bytes count as 0 rather than being read past the end.
uint32_t otsuOverPointSize(const ZVData &gray, uint32_t width, uint32_t height) {
  const size_t needed = size_t{width} * height;
  if (gray.size() >= needed)
    return ZVOtsu(gray.data(), static_cast<int32_t>(width), static_cast<int32_t>(height));
  ZVData padded(needed, 0);
  std::copy(gray.begin(), gray.end(), padded.begin());
  return ZVOtsu(padded.data(), static_cast<int32_t>(width), static_cast<int32_t>(height));
}

// R, G and B become 255 or 0 and alpha stays as drawn. Un-premultiplied into
// straight RGBA that is 255 or 0 again, except under alpha 0 where colour
// reads 0, as the canvas conversion gives; so it is written out directly.
ZVData thresholded(std::span<const uint8_t> drawn, uint32_t threshold) {
  // White when (s / 3.0) / 255.0 > t / 255.0 for the channel sum s; the
  // table holds that double-precision decision for every possible sum.
  std::array<uint8_t, 766> level{};
  for (size_t s = 0; s < level.size(); ++s)
    level[s] = (static_cast<double>(s) / 3.0) / 255.0 > threshold / 255.0 ? 255 : 0;
  ZVData rgba(drawn.size());
  const uint8_t *px = drawn.data();
  uint8_t *out = rgba.data();
  for (size_t i = 0; i < drawn.size(); i += 4) {
    const uint8_t alpha = px[i + 3];
    const uint8_t value = alpha == 0 ? 0 : level[px[i] + px[i + 1] + px[i + 2]];
    out[i] = out[i + 1] = out[i + 2] = value;
    out[i + 3] = alpha;
  }
  return rgba;
}

} // namespace

std::optional<ZVImage> ZVImagePreviewManager::binaryPreviewWithImage(const ZVImage &image) {
  const auto size = zv::detail::truncatedPointSize(image);
  const auto drawn = zv::detail::DrawnPixels::draw(image, size.width, size.height);
  if (!drawn) return std::nullopt;
  // At scale 1 the drawing is the bitmap drawn at its own size: its gray
  // levels are those of graylevel256Datas without drawing it twice.
  const bool bitmapSized = size.width == image.pixelWidth() && size.height == image.pixelHeight();
  const ZVData gray =
      bitmapSized ? zv::detail::previewGray(drawn->bytes()) : graylevel256Datas(image);
  if (gray.empty()) return std::nullopt;
  const uint32_t threshold = otsuOverPointSize(gray, size.width, size.height);
  return ZVImage::fromRGBA(size.width, size.height, thresholded(drawn->bytes(), threshold));
}
