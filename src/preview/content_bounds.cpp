// Bounding box of an image's non-white content.

#include <zvprinter/ZVImagePreviewManager.h>

#include "imaging/point_size.h"
#include "platform/canvas.h"

#include <cstring>
#include <vector>

void UIImageGetRGBAPixels(const ZVImage &image, const ZVRGBAPixelsCallback &callback) {
  if (!callback) return;
  // The size in points times the scale: the bitmap's size, except where the
  // floating-point round trip lands just below a whole number.
  const ZVSize points = image.size();
  const uint32_t width = zv::detail::truncatedSide(points.width * image.scale());
  const uint32_t height = zv::detail::truncatedSide(points.height * image.scale());
  const auto canvas = zv::detail::drawnCanvas(image, width, height);
  if (!canvas) {
    // A side of 0 (a bitmap of one pixel whose round trip lands below 1)
    // refuses the canvas; the callback still sees the sizes, and no pixels.
    const bool empty = width == 0 || height == 0;
    callback(nullptr, empty ? width : 0, empty ? height : 0);
    return;
  }
  callback(canvas->pixels.data(), width, height);
}

ZVRect ZVImagePreviewManager::removeWhiteAreaData(const ZVImage &image) {
  uint64_t left = 0, right = 0, top = 0, bottom = 0;
  UIImageGetRGBAPixels(image, [&](const uint8_t *rgba, uint32_t width, uint32_t height) {
    // A row or column counts when it holds a pixel that is neither fully
    // transparent (0) nor opaque pure white (all bits set): exactly when the
    // 64-bit sum of such pixel values over it is non-zero.
    std::vector<uint8_t> columnHit(width, 0);
    left = uint64_t{width} - 1;
    top = uint64_t{height} - 1;
    bool anyRow = false;
    for (uint32_t y = 0; y < height; ++y) {
      bool rowHit = false;
      const uint8_t *px = rgba + size_t{y} * width * 4;
      for (uint32_t x = 0; x < width; ++x, px += 4) {
        uint32_t value;
        std::memcpy(&value, px, 4);
        const bool content = value != 0 && value != 0xFFFFFFFFu;
        columnHit[x] |= content;
        rowHit |= content;
      }
      if (!rowHit) continue;
      if (!anyRow) top = y;
      bottom = y;
      anyRow = true;
    }
    bool anyColumn = false;
    for (uint32_t x = 0; x < width; ++x) {
      if (!columnHit[x]) continue;
      if (!anyColumn) left = x;
      right = x;
      anyColumn = true;
    }
  });
  // Unsigned 64-bit: without content this wraps to a size beyond the image.
  const uint64_t width = right - left + 1;
  const uint64_t height = bottom - top + 1;
  return {static_cast<double>(left), static_cast<double>(top), static_cast<double>(width),
          static_cast<double>(height)};
}
