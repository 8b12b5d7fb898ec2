// Error-diffusion (mode 1) and clustered-dot (mode 2) print data. The
// diffused raster is inverted for the printer like the threshold mode's; the
// clustered raster goes out as it is (1 = dot).
//
// The clustered mode gives up when its gray buffer is empty. An image always
// has pixels and a canvas of its own size is within the same caps, so there
// it is the same guard as the canvas check of the other modes.
#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/conversion_output.h"

using zv::detail::clusterRaster;
using zv::detail::convertedRaster;
using zv::detail::ditherRaster;

std::optional<ZVData> ZVAlgorithmManager::generateDitheringData(const ZVImage &image,
                                                                int64_t compress, bool package) {
  return zv::detail::printData(convertedRaster(image, ditherRaster), true, compress, package);
}

std::optional<std::vector<ZVBitmapSlice>>
ZVAlgorithmManager::generateDitheringArray(const ZVImage &image) {
  return zv::detail::printSlices(convertedRaster(image, ditherRaster));
}

std::optional<ZVData> ZVAlgorithmManager::generateCLosureData(const ZVImage &image,
                                                              int64_t compress, bool package) {
  return zv::detail::printData(convertedRaster(image, clusterRaster), false, compress, package);
}

std::optional<std::vector<ZVBitmapSlice>>
ZVAlgorithmManager::generateClusterArray(const ZVImage &image) {
  return zv::detail::printSlices(convertedRaster(image, clusterRaster));
}
