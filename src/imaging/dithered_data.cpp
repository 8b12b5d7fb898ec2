// Error-diffusion (mode 1) and clustered-dot (mode 2) print data. The
// diffused raster is inverted for the printer like the threshold mode's; the
// clustered raster goes out as it is (1 = dot).
#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/conversion_output.h"

std::optional<ZVData> ZVAlgorithmManager::generateDitheringData(const ZVImage &image,
                                                                int64_t compress, bool package) {
  const auto canvas = zv::detail::conversionCanvas(image);
  if (!canvas) return std::nullopt;
  auto raster = zv::detail::ditherRaster(*canvas);
  return zv::detail::printData(raster, true, compress, package);
}

std::optional<std::vector<ZVBitmapSlice>>
ZVAlgorithmManager::generateDitheringArray(const ZVImage &image) {
  const auto canvas = zv::detail::conversionCanvas(image);
  if (!canvas) return std::nullopt;
  return zv::detail::printSlices(zv::detail::ditherRaster(*canvas));
}

// The clustered mode gives up when its gray buffer is empty. An image always
// has pixels and a canvas of its own size is within the same caps, so this is
// only a guard.
std::optional<ZVData> ZVAlgorithmManager::generateCLosureData(const ZVImage &image,
                                                              int64_t compress, bool package) {
  const auto canvas = zv::detail::conversionCanvas(image);
  if (!canvas) return std::nullopt;
  auto raster = zv::detail::clusterRaster(*canvas);
  return zv::detail::printData(raster, false, compress, package);
}

std::optional<std::vector<ZVBitmapSlice>>
ZVAlgorithmManager::generateClusterArray(const ZVImage &image) {
  const auto canvas = zv::detail::conversionCanvas(image);
  if (!canvas) return std::nullopt;
  return zv::detail::printSlices(zv::detail::clusterRaster(*canvas));
}
