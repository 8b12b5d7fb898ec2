#include "imaging/gray_weighting.h"
#include "imaging/raster_kernels.h"
#include "imaging/weighted_sums_sse2.h"

#include <algorithm>

namespace zv::detail {

Raster makeRaster(uint32_t width, uint32_t height) {
  Raster raster;
  raster.bytesPerRow = static_cast<int32_t>((uint64_t{width} + 7) / 8);
  raster.height = static_cast<int32_t>(height);
  raster.bytes.assign(size_t(raster.bytesPerRow) * height, 0);
  return raster;
}

namespace {

using PartialHistograms = std::array<GrayHistogram, 4>;

// Counts @p count pixels from @p px into the interleaved histograms:
// neighbouring pixels of a photo often share a level, and one counter per
// level would serialise on it.
void countGrays(const uint8_t *px, size_t count, PartialHistograms &partial) {
  size_t i = 0;
#if ZV_IMAGING_SSE2
  using namespace sse2;
  alignas(16) uint8_t gray[16];
  for (; i + 16 <= count; i += 16, px += 64) {
    __m128i quotient[4];
    __m128i exact = _mm_setzero_si128();
    for (int j = 0; j < 4; ++j) {
      const __m128i sum = histogramSums(load(px + 16 * j));
      quotient[j] = divideBy100000(sum);
      exact = _mm_or_si128(exact, isMultipleOf100000(sum, quotient[j]));
    }
    _mm_store_si128(reinterpret_cast<__m128i *>(gray),
                    _mm_packus_epi16(_mm_packs_epi32(quotient[0], quotient[1]),
                                     _mm_packs_epi32(quotient[2], quotient[3])));
    if (_mm_movemask_epi8(exact) != 0) // an integral sum: the double formula decides
      for (int k = 0; k < 16; ++k)
        gray[k] = histogramGray(px[4 * k], px[4 * k + 1], px[4 * k + 2]);
    for (int k = 0; k < 16; k += 4) {
      ++partial[0][gray[k]];
      ++partial[1][gray[k + 1]];
      ++partial[2][gray[k + 2]];
      ++partial[3][gray[k + 3]];
    }
  }
#endif
  for (; i < count; ++i, px += 4)
    ++partial[0][histogramGray(px[0], px[1], px[2])];
}

// Rows counted per wait for rows still being decoded.
constexpr uint32_t kHistogramBand = 64;

} // namespace

GrayHistogram histogramWeightedHistogram(const Pixels &canvas) {
  PartialHistograms partial{};
  for (uint32_t y = 0; y < canvas.height; y += kHistogramBand) {
    const uint32_t end = std::min(canvas.height, y + kHistogramBand);
    canvas.awaitRows(end);
    countGrays(canvas.row(y), size_t{canvas.width} * (end - y), partial);
  }
  GrayHistogram histogram{};
  for (size_t v = 0; v < 256; ++v)
    histogram[v] = partial[0][v] + partial[1][v] + partial[2][v] + partial[3][v];
  return histogram;
}

namespace {

inline uint32_t thresholdDot(const uint8_t *px, uint64_t threshold) {
  return px[3] == 255 && printGray(px[0], px[1], px[2]) <= threshold;
}

#if ZV_IMAGING_SSE2
// Sixteen pixels from px: print gray <= threshold is sum < limit, except
// that a sum equal to the limit is decided by the double formula.
void thresholdSixteen(const uint8_t *px, uint8_t *out, __m128i limit, uint64_t threshold) {
  using namespace sse2;
  __m128i dot[4], tie[4];
  for (int j = 0; j < 4; ++j) {
    const __m128i pixels = load(px + 16 * j);
    const __m128i sum = printSums(pixels);
    dot[j] = _mm_and_si128(opaque(pixels), _mm_cmplt_epi32(sum, limit));
    tie[j] = _mm_cmpeq_epi32(sum, limit);
  }
  uint32_t bits = maskBits(dot[0], dot[1], dot[2], dot[3]);
  const uint32_t ties = maskBits(tie[0], tie[1], tie[2], tie[3]);
  if (ties != 0)
    for (int k = 0; k < 16; ++k)
      if (ties & (1u << k)) bits |= thresholdDot(px + 4 * k, threshold) << k;
  storeBits(out, bits);
}
#endif

} // namespace

Raster thresholdRaster(const Pixels &canvas, uint64_t threshold) {
  Raster raster = makeRaster(canvas.width, canvas.height);
#if ZV_IMAGING_SSE2
  // Print gray tops out at 254, so thresholds from 255 up take every opaque pixel.
  const __m128i limit =
      _mm_set1_epi32(static_cast<int32_t>((std::min<uint64_t>(threshold, 255) + 1) * 100000));
#endif
  for (uint32_t y = 0; y < canvas.height; ++y) {
    canvas.awaitRows(y + 1);
    const uint8_t *px = canvas.row(y);
    uint8_t *out = raster.bytes.data() + size_t(raster.bytesPerRow) * y;
    uint32_t x = 0;
#if ZV_IMAGING_SSE2
    for (; x + 16 <= canvas.width; x += 16, px += 64, out += 2)
      thresholdSixteen(px, out, limit, threshold);
#endif
    for (; x < canvas.width; x += 8, px += 32, ++out) {
      const uint32_t group = std::min(8u, canvas.width - x);
      uint32_t bits = 0;
      for (uint32_t k = 0; k < group; ++k)
        bits |= thresholdDot(px + 4 * k, threshold) << (7 - k);
      *out = static_cast<uint8_t>(bits);
    }
  }
  return raster;
}

} // namespace zv::detail
