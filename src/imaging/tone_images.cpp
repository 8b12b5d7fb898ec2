// Whole-image tone operations: 3 x 3 sharpening and white-to-transparent.
//
// Both draw the image at its size in points (resampling bilinearly when the
// scale is not 1) into a premultiplied canvas, as the platform drew into its
// bitmap contexts, and return the canvas as a scale-1 image un-premultiplied
// into straight RGBA.

#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/point_size.h"
#include "platform/canvas.h"

#include <algorithm>
#include <cstring>

namespace {

using zv::detail::Canvas;

uint8_t saturate(int32_t value) {
  return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

// Kernel -1 -1 -1 / -1 9 -1 / -1 -1 -1, divisor 1, on all four channels,
// saturated; the one-pixel border is copied unchanged. This plain loop stands
// in for the platform's ARGB convolution with its copy-in-place edge mode;
// the channel order of the canvas does not matter to it.
void sharpen3x3(const Canvas &in, Canvas &out) {
  const size_t w = in.width, h = in.height, stride = w * 4;
  out.pixels = in.pixels;
  if (w < 3 || h < 3) return;
  for (size_t y = 1; y + 1 < h; ++y) {
    const uint8_t *up = in.row(static_cast<uint32_t>(y - 1));
    const uint8_t *mid = up + stride;
    const uint8_t *dn = mid + stride;
    uint8_t *dst = out.row(static_cast<uint32_t>(y));
    for (size_t i = 4; i < stride - 4; ++i) {
      const int32_t ring =
          up[i - 4] + up[i] + up[i + 4] + mid[i - 4] + mid[i + 4] + dn[i - 4] + dn[i] + dn[i + 4];
      dst[i] = saturate(9 * mid[i] - ring);
    }
  }
}

} // namespace

std::optional<ZVImage> ZVAlgorithmManager::imageToSharpen(const ZVImage &image) {
  const auto size = zv::detail::truncatedPointSize(image);
  const auto drawn = zv::detail::drawnCanvas(image, size.width, size.height);
  if (!drawn) return std::nullopt;
  Canvas sharpened{drawn->width, drawn->height, {}};
  sharpen3x3(*drawn, sharpened);
  return zv::detail::imageFromCanvas(sharpened);
}

// Only opaque pure white matches: with premultiplied colour, partly
// transparent white has colour bytes below 255. The matched pixels get alpha
// 0 with their colour bytes left at 255; un-premultiplied into straight RGBA
// they read (0, 0, 0, 0), the one form a fully transparent pixel has there.
std::optional<ZVImage> ZVAlgorithmManager::imageToTransparent(const ZVImage &image) {
  const auto size = zv::detail::truncatedPointSize(image);
  auto canvas = zv::detail::drawnCanvas(image, size.width, size.height);
  if (!canvas) return std::nullopt;
  for (size_t i = 0; i < canvas->pixels.size(); i += 4) {
    uint8_t *px = canvas->pixels.data() + i;
    if (px[0] == 255 && px[1] == 255 && px[2] == 255) px[3] = 0;
  }
  return zv::detail::imageFromCanvas(*canvas);
}
