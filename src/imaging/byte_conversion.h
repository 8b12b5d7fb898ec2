#pragma once

// Conversions of computed tone values to bytes that stay defined for every
// input. Where a value is "truncated to an integer and clamped to 0..255",
// the conversion saturates as the ARM processors of the phones the library
// first ran on do: NaN gives 0, infinities and huge values clamp.

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace zv::detail {

inline uint8_t truncateToByte(double value) {
  if (!(value > 0)) return 0; // also NaN
  if (value >= 255) return 255;
  return static_cast<uint8_t>(value);
}

/// Truncates toward zero, saturating at the int32 range; NaN gives 0.
inline int32_t truncateToInt32(float value) {
  if (!(value == value)) return 0;
  if (value >= 2147483648.0f) return INT32_MAX;
  if (value <= -2147483648.0f) return INT32_MIN;
  return static_cast<int32_t>(value);
}

inline int32_t clampChannel(int64_t value) {
  return value < 0 ? 0 : (value > 255 ? 255 : static_cast<int32_t>(value));
}

/// Stride of one plane row of @p rowBytes bytes, padded to a multiple of 4.
inline size_t paddedStride(uint64_t rowBytes) {
  return static_cast<size_t>((rowBytes + 3) & ~uint64_t{3});
}

} // namespace zv::detail
