#pragma once

// The pixel operations of the error-diffusion preview, inline so that its
// per-pixel loop compiles without calls. ZVImagePreviewManager's getPixel,
// setPixel and getNearstColor forward here.

#include "imaging/byte_conversion.h"

#include <cstddef>
#include <cstdint>

namespace zv::detail {

constexpr uint32_t kOutsidePixel = 0xFFFFFFFFu;

inline int64_t nearestColor(uint8_t r, uint8_t g, uint8_t b) {
  const int32_t toBlack = r * r + g * g + b * b;
  const int32_t toWhite = (255 - r) * (255 - r) + (255 - g) * (255 - g) + (255 - b) * (255 - b);
  return toBlack >= toWhite ? 1 : 0;
}

inline bool inside(int32_t width, int32_t height, int32_t row, int32_t column) {
  return row >= 0 && row < height && column >= 0 && column < width;
}

inline size_t pixelIndex(int32_t width, int32_t row, int32_t column) {
  return static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(column);
}

/// Adds trunc(rate x error) (single precision) to red, green and blue.
inline uint32_t diffused(uint32_t pixel, float rate, const int32_t *eRgb) {
  uint32_t result = pixel & 0xFFu;
  for (int k = 0; k < 3; ++k) {
    const int shift = 24 - 8 * k;
    const auto channel = static_cast<int32_t>((pixel >> shift) & 0xFFu);
    const int32_t added = truncateToInt32(rate * static_cast<float>(eRgb[k]));
    result |= static_cast<uint32_t>(clampChannel(int64_t{channel} + added)) << shift;
  }
  return result;
}

inline uint32_t diffusedPixel(const uint32_t *pixels, int32_t width, int32_t height, int32_t row,
                              int32_t column, float rate, const int32_t *eRgb) {
  if (!inside(width, height, row, column)) return kOutsidePixel;
  return diffused(pixels[pixelIndex(width, row, column)], rate, eRgb);
}

inline void storePixel(uint32_t *pixels, int32_t width, int32_t height, int32_t row, int32_t column,
                       uint32_t value) {
  if (inside(width, height, row, column)) pixels[pixelIndex(width, row, column)] = value;
}

} // namespace zv::detail
