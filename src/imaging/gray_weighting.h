#pragma once

// The three gray weightings of the printing path. Each is defined by a
// double-precision formula, evaluated in a fixed order and truncated toward
// zero; the truncation of sums that are exact integers in real arithmetic
// (white gives 254.99999999999997 under the print weighting) is part of the
// printed result, so the weightings are never unified or rounded.
//
// The fast forms compute the real-valued sum exactly in integers (weights
// scaled to integers: 29891 / 58661 / 11448 per 100000, 30 / 59 / 11 per
// 100). Where that sum is not an integer, its distance to the nearest integer
// is at least 1/100000, far more than the double formula's rounding error
// (below 1e-12 for sums up to 255), so both truncate to the same value. Only
// an exactly integral sum can come out one lower in double precision; then
// the literal formula decides. Tests compare all 2^24 colours.

#include <cstdint>

namespace zv::detail {

/// B x 0.11448 + (G x 0.58661 + R x 0.29891): threshold decision and
/// clustered dither.
inline uint8_t printGrayLiteral(uint32_t r, uint32_t g, uint32_t b) {
  return static_cast<uint8_t>(static_cast<int>(b * 0.11448 + (g * 0.58661 + r * 0.29891)));
}

/// R x 0.11448 + (G x 0.58661 + B x 0.29891): the Otsu histogram (the print
/// weighting read in the opposite byte order).
inline uint8_t histogramGrayLiteral(uint32_t r, uint32_t g, uint32_t b) {
  return static_cast<uint8_t>(static_cast<int>(r * 0.11448 + (g * 0.58661 + b * 0.29891)));
}

/// B x 0.11 + (G x 0.59 + R x 0.3): error diffusion.
inline uint8_t ditherGrayLiteral(uint32_t r, uint32_t g, uint32_t b) {
  return static_cast<uint8_t>(static_cast<int>(b * 0.11 + (g * 0.59 + r * 0.3)));
}

inline uint8_t printGray(uint32_t r, uint32_t g, uint32_t b) {
  const uint32_t sum = 29891 * r + 58661 * g + 11448 * b;
  const uint32_t gray = sum / 100000;
  if (gray * 100000 != sum) return static_cast<uint8_t>(gray);
  return printGrayLiteral(r, g, b);
}

inline uint8_t histogramGray(uint32_t r, uint32_t g, uint32_t b) {
  const uint32_t sum = 11448 * r + 58661 * g + 29891 * b;
  const uint32_t gray = sum / 100000;
  if (gray * 100000 != sum) return static_cast<uint8_t>(gray);
  return histogramGrayLiteral(r, g, b);
}

inline uint8_t ditherGray(uint32_t r, uint32_t g, uint32_t b) {
  const uint32_t sum = 30 * r + 59 * g + 11 * b;
  const uint32_t gray = sum / 100;
  if (gray * 100 != sum) return static_cast<uint8_t>(gray);
  return ditherGrayLiteral(r, g, b);
}

} // namespace zv::detail
