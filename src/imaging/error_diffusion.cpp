// Floyd-Steinberg error diffusion to one bit, left to right on every row,
// with this printer's edge rules: the two leftmost columns pass nothing down
// and to the left, and the trailing width % 8 pixels of a row are diffused
// but never packed.
#include "imaging/gray_weighting.h"
#include "imaging/raster_kernels.h"
#include "imaging/weighted_sums_sse2.h"

namespace zv::detail {
namespace {

// Shares of an error e: trunc(e x 7/16) ahead, 3/16 below-behind, 5/16
// below, 1/16 below-ahead. The error is defined as float(e) taken to double
// and each product truncated toward zero. Errors never leave [-128, 128]:
// a pixel receives at most 16/16 of earlier errors (truncation only shrinks
// them), so if those lie in [-128, 128] its value lies in [-128, 383], and
// the new error (the value itself below 129, else value - 255) lies in
// [-128, 128] again. A float holds such an integer exactly, the factors are
// exact binary fractions, and C's integer division truncates toward zero,
// so the integer shares below are the double products' truncations.
struct Shares {
  int32_t ahead, belowBehind, below, belowAhead;
};

inline Shares spread(int32_t error) {
  return {error * 7 / 16, error * 3 / 16, error * 5 / 16, error / 16};
}

// Transparent or translucent pixels enter as white.
inline int32_t startValue(const uint8_t *px) {
  return px[3] == 255 ? ditherGray(px[0], px[1], px[2]) : 255;
}

// row[x] = start value of pixel x plus the errors collected for it.
void startRow(const uint8_t *px, const int32_t *collected, int32_t *row, uint32_t width) {
  uint32_t x = 0;
#if ZV_IMAGING_SSE2
  using namespace sse2;
  for (; x + 4 <= width; x += 4) {
    const __m128i pixels = load(px + 4 * x);
    const __m128i sum = ditherSums(pixels);
    const __m128i gray = divideBy100(sum);
    const __m128i isOpaque = opaque(pixels);
    __m128i value = _mm_or_si128(_mm_and_si128(isOpaque, gray),
                                 _mm_andnot_si128(isOpaque, _mm_set1_epi32(255)));
    value = _mm_add_epi32(value, _mm_loadu_si128(reinterpret_cast<const __m128i *>(collected + x)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(row + x), value);
    if (_mm_movemask_epi8(isMultipleOf100(sum, gray)) != 0) // integral: the formula decides
      for (uint32_t k = x; k < x + 4; ++k)
        row[k] = startValue(px + 4 * k) + collected[k];
  }
#endif
  for (; x < width; ++x)
    row[x] = startValue(px + 4 * x) + collected[x];
}

// Diffuses one row. The errors for the row below are accumulated in
// registers and each below[x] is written once, when complete.
template <bool kHasBelow>
void diffuseRow(const int32_t *row, int32_t *below, uint32_t width, uint8_t *out) {
  int32_t carried = 0;       // share passed ahead to pixel x
  int32_t pendingBehind = 0; // errors so far for below[x - 1]
  int32_t pendingHere = 0;   // errors so far for below[x]
  uint32_t bits = 0;
  auto step = [&](uint32_t x, bool passesDownLeft) {
    const int32_t old = row[x] + carried;
    const bool dot = old < 129;
    const Shares share = spread(dot ? old : old - 255);
    carried = share.ahead;
    if constexpr (kHasBelow) {
      if (x >= 1) below[x - 1] = pendingBehind + (passesDownLeft ? share.belowBehind : 0);
      pendingBehind = pendingHere + share.below;
      pendingHere = share.belowAhead;
    }
    bits |= uint32_t{dot} << (7 - x % 8);
    if (x % 8 == 7) { // a trailing group of fewer than eight is never stored
      out[x / 8] = static_cast<uint8_t>(bits);
      bits = 0;
    }
  };
  // The shares ahead and below-ahead of the last pixel fall outside the
  // row and are dropped with the running values.
  for (uint32_t x = 0; x < width && x < 2; ++x)
    step(x, false);
  for (uint32_t x = 2; x < width; ++x)
    step(x, true);
  if constexpr (kHasBelow) {
    if (width > 0) below[width - 1] = pendingBehind;
  }
}

} // namespace

Raster ditherRaster(const Canvas &canvas) {
  const uint32_t width = canvas.width;
  Raster raster = makeRaster(width, canvas.height);
  std::vector<int32_t> row(width);
  std::vector<int32_t> below(width, 0); // errors collected for the next row
  for (uint32_t y = 0; y < canvas.height; ++y) {
    startRow(canvas.row(y), below.data(), row.data(), width);
    uint8_t *out = raster.bytes.data() + size_t(raster.bytesPerRow) * y;
    if (y + 1 < canvas.height) {
      diffuseRow<true>(row.data(), below.data(), width, out);
    } else {
      diffuseRow<false>(row.data(), below.data(), width, out);
    }
  }
  return raster;
}

} // namespace zv::detail
