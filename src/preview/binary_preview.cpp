// Two-level preview with the Otsu threshold of the preview's gray levels.

#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "imaging/point_size.h"
#include "platform/canvas.h"

#include <algorithm>
#include <array>

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

} // namespace

std::optional<ZVImage> ZVImagePreviewManager::binaryPreviewWithImage(const ZVImage &image) {
  const auto size = zv::detail::truncatedPointSize(image);
  const ZVData gray = graylevel256Datas(image);
  if (gray.empty()) return std::nullopt;
  auto canvas = zv::detail::drawnCanvas(image, size.width, size.height);
  if (!canvas) return std::nullopt;
  const uint32_t threshold = otsuOverPointSize(gray, size.width, size.height);

  // White when (s / 3.0) / 255.0 > t / 255.0 for the channel sum s; the
  // table holds that double-precision decision for every possible sum.
  std::array<uint8_t, 766> level{};
  for (size_t s = 0; s < level.size(); ++s)
    level[s] = (static_cast<double>(s) / 3.0) / 255.0 > threshold / 255.0 ? 255 : 0;
  for (size_t i = 0; i < canvas->pixels.size(); i += 4) {
    uint8_t *px = canvas->pixels.data() + i;
    const uint8_t value = level[px[0] + px[1] + px[2]];
    px[0] = px[1] = px[2] = value;
  }
  return zv::detail::imageFromCanvas(*canvas);
}
