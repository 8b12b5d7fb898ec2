#include "preview/drawn_pixels.h"

#include <algorithm>

namespace zv::detail {

namespace {

bool opaque(std::span<const uint8_t> rgba) {
  for (size_t i = 3; i < rgba.size(); i += 4)
    if (rgba[i] != 255) return false;
  return true;
}

} // namespace

std::optional<DrawnPixels> DrawnPixels::draw(const ZVImage &image, uint32_t width,
                                             uint32_t height) {
  DrawnPixels drawn;
  drawn.width_ = width;
  drawn.height_ = height;
  if (width == image.pixelWidth() && height == image.pixelHeight() && opaque(image.rgba())) {
    drawn.bytes_ = image.rgba();
    return drawn;
  }
  drawn.canvas_ = drawnCanvas(image, width, height);
  if (!drawn.canvas_) return std::nullopt;
  drawn.bytes_ = drawn.canvas_->pixels;
  return drawn;
}

} // namespace zv::detail
