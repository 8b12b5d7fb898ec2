#include <zvprinter/ZVPrinterC.h>

#include "imaging/raster_kernels.h"

namespace zv::detail {

uint32_t otsuThreshold(const GrayHistogram &histogram, uint32_t pixelCount) {
  double total = 0.0;
  for (uint32_t i = 0; i < 256; ++i)
    total += static_cast<double>(i) * histogram[i];

  double best = -1.0;
  uint32_t threshold = 0;
  uint32_t weightBack = 0;
  double sumBack = 0.0;
  for (uint32_t t = 0; t < 256; ++t) {
    weightBack += histogram[t];
    if (weightBack == 0) continue;
    const uint32_t weightFore = pixelCount - weightBack;
    if (weightFore == 0) break;
    sumBack += static_cast<double>(histogram[t]) * t;
    const double back = static_cast<int32_t>(weightBack);
    const double fore = static_cast<int32_t>(weightFore);
    const double meanBack = sumBack / back;
    const double meanFore = (total - sumBack) / fore;
    const double variance = fore * back * (meanBack - meanFore) * (meanBack - meanFore);
    if (variance > best) {
      best = variance;
      threshold = t;
    }
  }
  return threshold;
}

} // namespace zv::detail

extern "C" uint32_t ZVOtsu(const uint8_t *gray, int32_t width, int32_t height) {
  if (gray == nullptr || width < 1 || height < 1) return 0xFFFFFFFFu;
  // Four interleaved counters per value keep runs of equal bytes from
  // serialising on one counter.
  std::array<zv::detail::GrayHistogram, 4> partial{};
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    ++partial[0][gray[i]];
    ++partial[1][gray[i + 1]];
    ++partial[2][gray[i + 2]];
    ++partial[3][gray[i + 3]];
  }
  for (; i < count; ++i)
    ++partial[0][gray[i]];
  zv::detail::GrayHistogram histogram{};
  for (size_t v = 0; v < 256; ++v)
    histogram[v] = partial[0][v] + partial[1][v] + partial[2][v] + partial[3][v];
  return zv::detail::otsuThreshold(histogram,
                                   static_cast<uint32_t>(width) * static_cast<uint32_t>(height));
}
