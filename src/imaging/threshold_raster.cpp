#include "imaging/gray_weighting.h"
#include "imaging/raster_kernels.h"

namespace zv::detail {

Raster makeRaster(uint32_t width, uint32_t height) {
  Raster raster;
  raster.bytesPerRow = static_cast<int32_t>((uint64_t{width} + 7) / 8);
  raster.height = static_cast<int32_t>(height);
  raster.bytes.assign(size_t(raster.bytesPerRow) * height, 0);
  return raster;
}

GrayHistogram histogramWeightedHistogram(const Canvas &canvas) {
  // Two interleaved histograms: neighbouring pixels of a photo often share a
  // level, and one counter per level would serialise on it.
  std::array<GrayHistogram, 2> partial{};
  const uint8_t *px = canvas.pixels.data();
  const size_t count = size_t{canvas.width} * canvas.height;
  size_t i = 0;
  for (; i + 2 <= count; i += 2, px += 8) {
    ++partial[0][histogramGray(px[0], px[1], px[2])];
    ++partial[1][histogramGray(px[4], px[5], px[6])];
  }
  if (i < count) ++partial[0][histogramGray(px[0], px[1], px[2])];
  GrayHistogram histogram{};
  for (size_t v = 0; v < 256; ++v)
    histogram[v] = partial[0][v] + partial[1][v];
  return histogram;
}

namespace {

inline uint32_t thresholdDot(const uint8_t *px, uint64_t threshold) {
  return px[3] == 255 && printGray(px[0], px[1], px[2]) <= threshold;
}

} // namespace

Raster thresholdRaster(const Canvas &canvas, uint64_t threshold) {
  Raster raster = makeRaster(canvas.width, canvas.height);
  const uint32_t fullBytes = canvas.width / 8;
  const uint32_t tail = canvas.width % 8;
  for (uint32_t y = 0; y < canvas.height; ++y) {
    const uint8_t *px = canvas.row(y);
    uint8_t *out = raster.bytes.data() + size_t(raster.bytesPerRow) * y;
    for (uint32_t b = 0; b < fullBytes; ++b, px += 32) {
      uint32_t bits = 0;
      for (uint32_t k = 0; k < 8; ++k)
        bits |= thresholdDot(px + 4 * k, threshold) << (7 - k);
      out[b] = static_cast<uint8_t>(bits);
    }
    uint32_t bits = 0;
    for (uint32_t k = 0; k < tail; ++k)
      bits |= thresholdDot(px + 4 * k, threshold) << (7 - k);
    if (tail) out[fullBytes] = static_cast<uint8_t>(bits);
  }
  return raster;
}

} // namespace zv::detail
