// Threshold mode: Otsu's threshold over the histogram-weighted gray levels,
// or the caller's, applied to the print-weighted gray of opaque pixels.
#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/conversion_output.h"

namespace {

using zv::detail::Raster;

// Draws once: the Otsu histogram is taken from the same canvas as the
// decision instead of drawing graylevel256Datas's own. Its gray buffer is
// never empty here (an image has at least one pixel), so the fallback
// threshold 128 does not arise.
std::optional<Raster> binaryRaster(const ZVImage &image, bool custom, uint8_t threshold) {
  return zv::detail::convertedRaster(image, [&](const zv::detail::Pixels &canvas) {
    uint64_t limit = threshold;
    if (!custom) {
      const auto histogram = zv::detail::histogramWeightedHistogram(canvas);
      const auto otsu =
          static_cast<int32_t>(zv::detail::otsuThreshold(histogram, canvas.width * canvas.height));
      limit = static_cast<uint64_t>(int64_t{otsu}); // signed, then compared unsigned
    }
    return zv::detail::thresholdRaster(canvas, limit);
  });
}

} // namespace

std::optional<ZVData> ZVAlgorithmManager::generateBinaryData(const ZVImage &image, int64_t compress,
                                                             bool package, bool custom,
                                                             uint8_t threshold) {
  return zv::detail::printData(binaryRaster(image, custom, threshold), true, compress, package);
}

std::optional<std::vector<ZVBitmapSlice>>
ZVAlgorithmManager::generateBinaryArray(const ZVImage &image) {
  return zv::detail::printSlices(binaryRaster(image, false, 0));
}

uint8_t *ZVAlgorithmManager::negativeBuffer(uint8_t *buffer, int32_t memoryLength) {
  if (buffer == nullptr || memoryLength < 1) return buffer;
  for (int32_t i = 0; i < memoryLength; ++i)
    buffer[i] = static_cast<uint8_t>(~buffer[i]);
  return buffer;
}
