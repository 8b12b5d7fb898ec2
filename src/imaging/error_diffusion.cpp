// Floyd-Steinberg error diffusion to one bit, left to right on every row,
// with this printer's edge rules: the two leftmost columns pass nothing down
// and to the left, and the trailing width % 8 pixels of a row are diffused
// but never packed.
#include "imaging/gray_weighting.h"
#include "imaging/raster_kernels.h"
#include "imaging/weighted_sums_sse2.h"

#include <array>
#include <cstddef>

namespace zv::detail {
namespace {

// Shares of an error e: e x 7/16 ahead, 3/16 below-behind, 5/16 below and
// 1/16 below-ahead, where e is converted to float and then to double and
// each product is truncated toward zero.
//
// Values never leave [-128, 383], so the shares come from a table indexed by
// the value: a pixel starts at 0..255 and receives at most 16/16 of earlier
// errors, each share truncated toward zero, so if earlier errors lie in
// [-128, 128] its value lies in [-128, 383] and its own error (the value
// itself below 129, else the value - 255) lies in [-128, 128] again.
constexpr int32_t kLowestValue = -128;
constexpr int32_t kHighestValue = 383;

struct Shares {
  int16_t ahead, belowBehind, below, belowAhead;
};

constexpr Shares sharesOf(int32_t value) {
  const int32_t error = value < 129 ? value : value - 255;
  const double e = static_cast<double>(static_cast<float>(error));
  return {static_cast<int16_t>(e * 0.4375), static_cast<int16_t>(e * 0.1875),
          static_cast<int16_t>(e * 0.3125), static_cast<int16_t>(e * 0.0625)};
}

constexpr auto kShares = [] {
  std::array<Shares, kHighestValue - kLowestValue + 1> table{};
  for (int32_t v = kLowestValue; v <= kHighestValue; ++v)
    table[v - kLowestValue] = sharesOf(v);
  return table;
}();

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

// Diffuses one row, leaving each pixel's final value in row[x]. The errors
// for the row below are accumulated in registers and each below[x] is
// written once, when complete.
template <bool kHasBelow> void diffuseRow(int32_t *row, int32_t *below, uint32_t width) {
  // Indexed by the value itself (from the middle of the table, which starts
  // at the lowest value); pointer-sized so that the chain from one pixel's
  // value to the next is one add and one load.
  const Shares *sharesByValue = kShares.data() + (0 - kLowestValue);
  std::ptrdiff_t carried = 0; // share passed ahead to pixel x
  int32_t pendingBehind = 0;  // errors so far for below[x - 1]
  int32_t pendingHere = 0;    // errors so far for below[x]
  auto step = [&](uint32_t x, bool passesDownLeft) {
    const std::ptrdiff_t old = row[x] + carried;
    row[x] = static_cast<int32_t>(old);
    const Shares &share = sharesByValue[old];
    carried = share.ahead;
    if constexpr (kHasBelow) {
      if (x >= 1) below[x - 1] = pendingBehind + (passesDownLeft ? share.belowBehind : 0);
      pendingBehind = pendingHere + share.below;
      pendingHere = share.belowAhead;
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

// A value below 129 is a dot. Only whole groups of eight are stored: the
// trailing width % 8 pixels never reach the raster.
void packRow(const int32_t *row, uint32_t width, uint8_t *out) {
  uint32_t x = 0;
#if ZV_IMAGING_SSE2
  const __m128i dotBelow = _mm_set1_epi32(129);
  for (; x + 16 <= width; x += 16, out += 2) {
    __m128i dot[4];
    for (int j = 0; j < 4; ++j)
      dot[j] = _mm_cmplt_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(row + x + 4 * j)),
                               dotBelow);
    sse2::storeBits(out, sse2::maskBits(dot[0], dot[1], dot[2], dot[3]));
  }
#endif
  for (; x + 8 <= width; x += 8, ++out) {
    uint32_t bits = 0;
    for (uint32_t k = 0; k < 8; ++k)
      bits |= uint32_t{row[x + k] < 129} << (7 - k);
    *out = static_cast<uint8_t>(bits);
  }
}

} // namespace

Raster ditherRaster(const Pixels &canvas) {
  const uint32_t width = canvas.width;
  Raster raster = makeRaster(width, canvas.height);
  std::vector<int32_t> row(width);
  std::vector<int32_t> below(width, 0); // errors collected for the next row
  for (uint32_t y = 0; y < canvas.height; ++y) {
    canvas.awaitRows(y + 1);
    startRow(canvas.row(y), below.data(), row.data(), width);
    uint8_t *out = raster.bytes.data() + size_t(raster.bytesPerRow) * y;
    if (y + 1 < canvas.height) {
      diffuseRow<true>(row.data(), below.data(), width);
    } else {
      diffuseRow<false>(row.data(), below.data(), width);
    }
    packRow(row.data(), width, out);
  }
  return raster;
}

} // namespace zv::detail
