// The preview's own gray levels and their way back to an image.

#include <zvprinter/ZVImagePreviewManager.h>

#include "platform/canvas.h"

ZVData ZVImagePreviewManager::graylevel256Datas(const ZVImage &image) {
  const auto canvas = zv::detail::drawnCanvas(image, image.pixelWidth(), image.pixelHeight());
  if (!canvas) return {};
  ZVData gray(size_t{canvas->width} * canvas->height);
  const uint8_t *px = canvas->pixels.data();
  for (size_t i = 0; i < gray.size(); ++i, px += 4) {
    // Left to right, unlike the algorithm manager's histogram gray with the
    // same weights: the rounding differs for a few colours (244, 244, 244).
    const double value = 0.11448 * px[0] + 0.58661 * px[1] + 0.29891 * px[2];
    gray[i] = static_cast<uint8_t>(value);
  }
  return gray;
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
  return ZVImage::fromRGBA(static_cast<uint32_t>(width), static_cast<uint32_t>(height), rgba);
}
