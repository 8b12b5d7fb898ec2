// The previews and the content bounding box over small arbitrary images.
// Input: width byte, height byte, scale byte, fGamma byte, then RGBA pixels
// (missing bytes read as 0).
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImagePreviewManager.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 4 || size > 4 + 64 * 64 * 4) return 0;
  static constexpr std::array<double, 8> kScales{1.0, 2.0, 3.0, 0.5, 1.5, 0.25, 49.0, 1.0 / 3};
  const uint32_t width = data[0] % 64 + 1;
  const uint32_t height = data[1] % 64 + 1;
  const double scale = kScales[data[2] % kScales.size()];
  const double gamma = data[3] / 32.0; // 0 (degenerate) to about 8
  std::vector<uint8_t> rgba(size_t{width} * height * 4, 0);
  for (size_t i = 4; i < size && i - 4 < rgba.size(); ++i)
    rgba[i - 4] = data[i];
  const auto image = ZVImage::fromRGBA(width, height, rgba, scale);
  if (!image) return 0;

  for (int64_t mode = 0; mode < 3; ++mode) {
    const auto preview = ZVBitmapManager::generateRenderingWithImage(*image, mode, gamma, false);
    if (preview && mode == 2 && preview->pixelWidth() != width) __builtin_trap();
  }
  const ZVRect rect = ZVBitmapManager::contentInImage(*image);
  // Content, when there is any, lies inside the bitmap.
  if (rect.width >= 1 && rect.width <= width && rect.x + rect.width > width) __builtin_trap();
  if (rect.height >= 1 && rect.height <= height && rect.y + rect.height > height) __builtin_trap();
  (void)ZVBitmapManager::imageToSharpen(*image);
  (void)ZVBitmapManager::imageToTransparent(*image);
  return 0;
}
