// Two-colour Floyd-Steinberg preview on the colour pixels.

#include <zvprinter/ZVImagePreviewManager.h>

#include "imaging/point_size.h"
#include "platform/canvas.h"
#include "preview/pixel_ops.h"

#include <vector>

namespace {

constexpr float kAhead = 7.0f / 16.0f;
constexpr float kBelow = 5.0f / 16.0f;
constexpr float kBelowLeft = 3.0f / 16.0f;
constexpr float kBelowRight = 1.0f / 16.0f;

// Red in the top byte, then green and blue; the drawn alpha sits in the low
// byte, which nothing reads.
std::vector<uint32_t> packedPixels(const zv::detail::Canvas &canvas) {
  std::vector<uint32_t> packed(size_t{canvas.width} * canvas.height);
  const uint8_t *px = canvas.pixels.data();
  for (uint32_t &value : packed) {
    value = uint32_t{px[0]} << 24 | uint32_t{px[1]} << 16 | uint32_t{px[2]} << 8 | px[3];
    px += 4;
  }
  return packed;
}

// Diffuses in place in @p work and writes opaque black or white to @p rgba.
void diffuse(std::vector<uint32_t> &work, int32_t width, int32_t height, uint8_t *rgba) {
  using namespace zv::detail;
  uint32_t *pixels = work.data();
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x, rgba += 4) {
      const uint32_t pixel = pixels[pixelIndex(width, y, x)];
      const auto r = static_cast<uint8_t>(pixel >> 24);
      const auto g = static_cast<uint8_t>(pixel >> 16);
      const auto b = static_cast<uint8_t>(pixel >> 8);
      const bool white = nearestColor(r, g, b) != 0;
      const int32_t error[3] = {white ? r - 255 : r, white ? g - 255 : g, white ? b - 255 : b};
      const uint8_t shade = white ? 255 : 0;
      rgba[0] = rgba[1] = rgba[2] = shade;
      rgba[3] = 255;

      const uint32_t ahead = diffusedPixel(pixels, width, height, y, x + 1, kAhead, error);
      const uint32_t below = diffusedPixel(pixels, width, height, y + 1, x, kBelow, error);
      const uint32_t belowLeft =
          diffusedPixel(pixels, width, height, y + 1, x - 1, kBelowLeft, error);
      const uint32_t belowRight =
          diffusedPixel(pixels, width, height, y + 1, x + 1, kBelowRight, error);
      storePixel(pixels, width, height, y, x + 1, ahead);
      storePixel(pixels, width, height, y + 1, x, below);
      storePixel(pixels, width, height, y + 1, x - 1, belowLeft);
      storePixel(pixels, width, height, y + 1, x + 1, belowRight);
    }
  }
}

} // namespace

// Both buffers of the platform's version were drawn without being cleared;
// the working buffer here starts zeroed, so transparent areas read as black
// as in the other previews. The output buffer needs no drawing: every pixel
// of it is written, black as R, G, B 0 with the fourth byte 0xFF, or white.
std::optional<ZVImage> ZVImagePreviewManager::ditheringPreviewWithImage(const ZVImage &image) {
  const auto size = zv::detail::truncatedPointSize(image);
  const auto canvas = zv::detail::drawnCanvas(image, size.width, size.height);
  if (!canvas) return std::nullopt;
  std::vector<uint32_t> work = packedPixels(*canvas);
  ZVData rgba(canvas->pixels.size());
  diffuse(work, static_cast<int32_t>(size.width), static_cast<int32_t>(size.height), rgba.data());
  return ZVImage::fromRGBA(size.width, size.height, rgba);
}
