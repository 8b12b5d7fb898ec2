#pragma once

// The pixel size of a canvas made at an image's size in points, each side
// truncated toward zero as the platform converted its floating-point sizes.

#include <zvprinter/ZVImage.h>

#include <cstdint>

namespace zv::detail {

/// Truncates a size in points; NaN and negatives give 0 and sides beyond
/// 32 bits saturate, so a canvas of that size is then refused, never made.
inline uint32_t truncatedSide(double points) {
  if (!(points > 0)) return 0;
  if (points >= 4294967295.0) return 4294967295u;
  return static_cast<uint32_t>(points);
}

struct PixelSize {
  uint32_t width = 0;
  uint32_t height = 0;
};

inline PixelSize truncatedPointSize(const ZVImage &image) {
  const ZVSize size = image.size();
  return {truncatedSide(size.width), truncatedSide(size.height)};
}

} // namespace zv::detail
