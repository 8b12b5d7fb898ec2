#pragma once

// SSE2 forms of the integer gray sums of gray_weighting.h, four RGBA pixels
// (one per 32-bit lane) at a time. SSE2 is part of every x86-64 CPU, so this
// needs no run-time dispatch; elsewhere the scalar forms are used. Every
// result is exact integer arithmetic, identical to the scalar forms.

#if defined(__SSE2__)
#define ZV_IMAGING_SSE2 1
#include <emmintrin.h>

#include <array>
#include <cstdint>

namespace zv::detail::sse2 {

// pmaddwd multiplies signed 16-bit pairs, so the green weight 58661 is
// applied as 2 x 29330 + 1.
inline __m128i sums58661(__m128i px, __m128i redBlueWeights) {
  const __m128i lowBytes = _mm_set1_epi32(0x00FF00FF);
  const __m128i redBlue = _mm_and_si128(px, lowBytes);
  const __m128i green = _mm_and_si128(_mm_srli_epi32(px, 8), _mm_set1_epi32(0xFF));
  const __m128i sum = _mm_madd_epi16(redBlue, redBlueWeights);
  const __m128i greenPart = _mm_slli_epi32(_mm_madd_epi16(green, _mm_set1_epi32(29330)), 1);
  return _mm_add_epi32(sum, _mm_add_epi32(greenPart, green));
}

/// 29891 R + 58661 G + 11448 B: the print weighting times 100000.
inline __m128i printSums(__m128i px) {
  return sums58661(px, _mm_set1_epi32(11448 << 16 | 29891));
}

/// 11448 R + 58661 G + 29891 B: the histogram weighting times 100000.
inline __m128i histogramSums(__m128i px) {
  return sums58661(px, _mm_set1_epi32(29891 << 16 | 11448));
}

/// 30 R + 59 G + 11 B: the dither weighting times 100.
inline __m128i ditherSums(__m128i px) {
  const __m128i redBlue = _mm_and_si128(px, _mm_set1_epi32(0x00FF00FF));
  const __m128i green = _mm_and_si128(_mm_srli_epi32(px, 8), _mm_set1_epi32(0xFF));
  return _mm_add_epi32(_mm_madd_epi16(redBlue, _mm_set1_epi32(11 << 16 | 30)),
                       _mm_madd_epi16(green, _mm_set1_epi32(59)));
}

/// floor(sum / 100000) for sums below 2^32, as compilers divide by a constant.
inline __m128i divideBy100000(__m128i sum) {
  const __m128i magic = _mm_set1_epi32(0x0A7C5AC5);
  const __m128i scaled = _mm_srli_epi32(sum, 5);
  const __m128i even = _mm_srli_epi64(_mm_mul_epu32(scaled, magic), 39);
  const __m128i odd = _mm_srli_epi64(_mm_mul_epu32(_mm_srli_epi64(scaled, 32), magic), 39);
  return _mm_or_si128(even, _mm_slli_epi64(odd, 32));
}

/// Lanes whose sum is exactly quotient x 100000 (quotient below 32768 x 4).
inline __m128i isMultipleOf100000(__m128i sum, __m128i quotient) {
  const __m128i product = _mm_slli_epi32(_mm_madd_epi16(quotient, _mm_set1_epi32(25000)), 2);
  return _mm_cmpeq_epi32(product, sum);
}

/// floor(sum / 100) for sums up to 25500: (sum x 5243) >> 19 is exact there.
inline __m128i divideBy100(__m128i sum) {
  return _mm_srli_epi32(_mm_madd_epi16(sum, _mm_set1_epi32(5243)), 19);
}

inline __m128i isMultipleOf100(__m128i sum, __m128i quotient) {
  return _mm_cmpeq_epi32(_mm_madd_epi16(quotient, _mm_set1_epi32(100)), sum);
}

/// All-ones lanes for pixels whose alpha is 255.
inline __m128i opaque(__m128i px) {
  return _mm_cmpeq_epi32(_mm_srai_epi32(px, 24), _mm_set1_epi32(-1));
}

inline __m128i load(const uint8_t *px) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(px));
}

/// Sixteen lane masks (four vectors of four) as a 16-bit mask, pixel i in bit i.
inline uint32_t maskBits(__m128i m0, __m128i m1, __m128i m2, __m128i m3) {
  const __m128i packed = _mm_packs_epi16(_mm_packs_epi32(m0, m1), _mm_packs_epi32(m2, m3));
  return static_cast<uint32_t>(_mm_movemask_epi8(packed));
}

/// Bits of a byte in reverse order: movemask puts the first pixel in the
/// lowest bit, the raster wants it in the highest.
inline constexpr auto kReversedBits = [] {
  std::array<uint8_t, 256> table{};
  for (unsigned v = 0; v < 256; ++v)
    for (unsigned bit = 0; bit < 8; ++bit)
      if (v & (1u << bit)) table[v] |= static_cast<uint8_t>(0x80u >> bit);
  return table;
}();

/// Stores a 16-bit pixel mask (pixel i in bit i) as two raster bytes.
inline void storeBits(uint8_t *out, uint32_t bits) {
  out[0] = kReversedBits[bits & 0xFF];
  out[1] = kReversedBits[bits >> 8];
}

} // namespace zv::detail::sse2
#endif
