// The preview's own gray levels and their way back to an image.

#include <zvprinter/ZVImagePreviewManager.h>

#include "preview/drawn_pixels.h"
#include "preview/gray_formula.h"

namespace zv::detail {

ZVData previewGray(std::span<const uint8_t> rgba) {
  static const PreviewGrayFormula formula;
  ZVData gray(rgba.size() / 4);
  const uint8_t *px = rgba.data();
  for (size_t i = 0; i < gray.size(); ++i, px += 4)
    gray[i] = formula(px);
  return gray;
}

} // namespace zv::detail

// Left to right, unlike the algorithm manager's histogram gray with the same
// weights: the rounding differs for a few colours, such as (244, 244, 244).
ZVData ZVImagePreviewManager::graylevel256Datas(const ZVImage &image) {
  const auto drawn = zv::detail::DrawnPixels::draw(image, image.pixelWidth(), image.pixelHeight());
  if (!drawn) return {};
  return zv::detail::previewGray(drawn->bytes());
}

std::optional<ZVImage> ZVImagePreviewManager::imageWithGraylevel256Data(const ZVData &data,
                                                                        uint64_t width) {
  if (width == 0 || data.empty() || data.size() % width != 0) return std::nullopt;
  const uint64_t height = data.size() / width;
  if (width > ZVImage::kMaxSide || height > ZVImage::kMaxSide) return std::nullopt;
  ZVData rgba(data.size() * 4);
  uint8_t *out = rgba.data();
  for (const uint8_t g : data) {
    out[0] = out[1] = out[2] = g;
    out[3] = 255;
    out += 4;
  }
  return ZVImage::fromRGBA(static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                           std::move(rgba));
}
