// Ordered dithering with 8 x 8 threshold matrices: the clustered-dot matrix
// of the closure mode and the dispersed Bayer matrix.
#include <zvprinter/ZVPrinterC.h>

#include "imaging/gray_weighting.h"
#include "imaging/raster_kernels.h"
#include "imaging/weighted_sums_sse2.h"

#include <algorithm>

namespace zv::detail {
namespace {

constexpr uint8_t kCluster[8][8] = {
    {24, 10, 12, 26, 35, 47, 49, 37}, {8, 0, 2, 14, 45, 59, 61, 51},
    {22, 6, 4, 16, 43, 57, 63, 53},   {30, 20, 18, 28, 33, 41, 55, 39},
    {34, 46, 48, 36, 25, 11, 13, 27}, {44, 58, 60, 50, 9, 1, 3, 15},
    {42, 56, 62, 52, 23, 7, 5, 17},   {32, 40, 54, 38, 31, 21, 19, 29}};

constexpr uint8_t kDispersed[8][8] = {
    {0, 48, 12, 60, 3, 51, 15, 63}, {32, 16, 44, 28, 35, 19, 47, 31},
    {8, 56, 4, 52, 11, 59, 7, 55},  {40, 24, 36, 20, 43, 27, 39, 23},
    {2, 50, 14, 62, 1, 49, 13, 61}, {34, 18, 46, 30, 33, 17, 45, 29},
    {10, 58, 6, 54, 9, 57, 5, 53},  {42, 26, 38, 22, 41, 25, 37, 21}};

using RowThresholds = std::array<std::array<uint8_t, 8>, 8>;

// A pixel p is a dot when p >= the table entry: (p >> 2) >= m is p >= 4m,
// and the clustered matrix also asks for p >= 4.
constexpr RowThresholds thresholdsOf(const uint8_t (&matrix)[8][8], uint8_t minimum) {
  RowThresholds table{};
  for (size_t r = 0; r < 8; ++r)
    for (size_t k = 0; k < 8; ++k)
      table[r][k] = static_cast<uint8_t>(std::max<unsigned>(minimum, 4u * matrix[r][k]));
  return table;
}

constexpr RowThresholds kClusterThresholds = thresholdsOf(kCluster, 4);
constexpr RowThresholds kDispersedThresholds = thresholdsOf(kDispersed, 0);

// ORs the dots of bytesPerRow groups of eight gray values into out.
void ditherRow(const uint8_t *gray, uint8_t *out, size_t bytesPerRow,
               const std::array<uint8_t, 8> &thresholds) {
  for (size_t b = 0; b < bytesPerRow; ++b, gray += 8) {
    uint32_t bits = 0;
    for (uint32_t k = 0; k < 8; ++k)
      bits |= uint32_t{gray[k] >= thresholds[k]} << (7 - k);
    out[b] |= static_cast<uint8_t>(bits);
  }
}

// Every row reads whole groups of eight, so the last group of a row takes
// the first pixels of the following row(s); past the end of the buffer the
// missing values count as 0 (never a dot in the clustered matrix).
void ditherRows(const uint8_t *gray, uint64_t width, int32_t height, uint8_t *out,
                const RowThresholds &thresholds) {
  if (gray == nullptr || out == nullptr || height < 1 || width == 0) return;
  const size_t bytesPerRow = (width + 7) / 8;
  const size_t groupSpan = bytesPerRow * 8;
  const size_t total = width * static_cast<uint64_t>(height);
  std::vector<uint8_t> padded;
  for (int32_t y = 0; y < height; ++y) {
    const size_t start = static_cast<size_t>(y) * width;
    const uint8_t *row = gray + start;
    if (start + groupSpan > total) {
      padded.assign(groupSpan, 0);
      std::copy(row, gray + total, padded.begin());
      row = padded.data();
    }
    ditherRow(row, out + bytesPerRow * static_cast<size_t>(y), bytesPerRow, thresholds[y % 8]);
  }
}

} // namespace

#if ZV_IMAGING_SSE2
namespace {

// Sixteen pixels (two groups) of one row: reversed print gray >= t is print
// gray <= 255 - t, i.e. sum < (256 - t) x 100000, except that a sum equal to
// the limit is decided by the double formula.
void clusterSixteen(const uint8_t *px, uint8_t *out, const std::array<uint8_t, 8> &thresholds,
                    const __m128i (&limits)[2]) {
  using namespace sse2;
  __m128i dot[4], tie[4];
  for (int j = 0; j < 4; ++j) {
    const __m128i sum = printSums(load(px + 16 * j));
    dot[j] = _mm_cmplt_epi32(sum, limits[j % 2]);
    tie[j] = _mm_cmpeq_epi32(sum, limits[j % 2]);
  }
  uint32_t bits = maskBits(dot[0], dot[1], dot[2], dot[3]);
  const uint32_t ties = maskBits(tie[0], tie[1], tie[2], tie[3]);
  if (ties != 0)
    for (uint32_t k = 0; k < 16; ++k)
      if (ties & (1u << k)) {
        const uint8_t *p = px + 4 * k;
        const auto reversed = static_cast<uint8_t>(~printGray(p[0], p[1], p[2]));
        bits |= uint32_t{reversed >= thresholds[k % 8]} << k;
      }
  storeBits(out, bits);
}

} // namespace
#endif

Raster clusterRaster(const Pixels &canvas) {
  Raster raster = makeRaster(canvas.width, canvas.height);
  const size_t bytesPerRow = static_cast<size_t>(raster.bytesPerRow);
  const size_t total = size_t{canvas.width} * canvas.height;
  // Reversed gray of the groups after the last whole sixteen pixels of a
  // row, read on into the next row like ZVBayerCluster.
  // Without SSE2 that is the whole row.
  std::vector<uint8_t> gray(bytesPerRow * 8);
  for (uint32_t y = 0; y < canvas.height; ++y) {
    // The groups at the end of a row read on into the next one.
    canvas.awaitRows(y + 2);
    const auto &thresholds = kClusterThresholds[y % 8];
    uint8_t *out = raster.bytes.data() + bytesPerRow * y;
    uint32_t x = 0;
#if ZV_IMAGING_SSE2
    __m128i limits[2];
    for (int half = 0; half < 2; ++half) {
      const auto t = thresholds.data() + 4 * half;
      limits[half] = _mm_setr_epi32((256 - t[0]) * 100000, (256 - t[1]) * 100000,
                                    (256 - t[2]) * 100000, (256 - t[3]) * 100000);
    }
    for (; x + 16 <= canvas.width; x += 16)
      clusterSixteen(canvas.row(y) + size_t{x} * 4, out + x / 8, thresholds, limits);
#endif
    const size_t start = size_t{y} * canvas.width + x;
    const size_t span = (bytesPerRow - x / 8) * 8;
    const size_t available = std::min(span, total - start);
    const uint8_t *px = canvas.data + start * 4;
    for (size_t i = 0; i < available; ++i, px += 4)
      gray[i] = static_cast<uint8_t>(~printGray(px[0], px[1], px[2]));
    std::fill(gray.begin() + static_cast<std::ptrdiff_t>(available), gray.end(), uint8_t{0});
    ditherRow(gray.data(), out + x / 8, bytesPerRow - x / 8, thresholds);
  }
  return raster;
}

} // namespace zv::detail

extern "C" void ZVBayerCluster(const uint8_t *gray, uint32_t width, int32_t height, uint8_t *out) {
  zv::detail::ditherRows(gray, width, height, out, zv::detail::kClusterThresholds);
}

extern "C" int HTBayerDisperse(const uint8_t *gray, int32_t width, int32_t height, uint8_t *out) {
  if (gray == nullptr || out == nullptr || width < 1 || height < 1) return 0;
  zv::detail::ditherRows(gray, static_cast<uint64_t>(width), height, out,
                         zv::detail::kDispersedThresholds);
  const int32_t used = width % 8;
  if (used != 0) {
    const size_t bytesPerRow = (static_cast<size_t>(width) + 7) / 8;
    const auto keep = static_cast<uint8_t>(0xFF << (8 - used));
    for (int32_t y = 0; y < height; ++y)
      out[bytesPerRow * static_cast<size_t>(y + 1) - 1] &= keep;
  }
  return 0;
}
