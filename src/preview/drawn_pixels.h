#pragma once

// An image drawn into a premultiplied RGBA buffer for the previews, without
// the copy when drawing would not change a byte: an opaque image at its own
// pixel size is its own premultiplied drawing.

#include "platform/canvas.h"

#include <zvprinter/ZVImage.h>

#include <optional>
#include <span>

namespace zv::detail {

class DrawnPixels {
public:
  DrawnPixels(DrawnPixels &&) = default; // the bytes stay where they are
  DrawnPixels(const DrawnPixels &) = delete;
  DrawnPixels &operator=(const DrawnPixels &) = delete;

  /// std::nullopt when the canvas is refused (a side of 0, or too large).
  static std::optional<DrawnPixels> draw(const ZVImage &image, uint32_t width, uint32_t height);

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  /// Premultiplied R, G, B, A bytes, rows top first, stride 4 x width.
  std::span<const uint8_t> bytes() const { return bytes_; }

private:
  DrawnPixels() = default;

  uint32_t width_ = 0, height_ = 0;
  std::optional<Canvas> canvas_;
  std::span<const uint8_t> bytes_;
};

} // namespace zv::detail
