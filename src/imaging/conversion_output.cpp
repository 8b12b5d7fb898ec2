#include "imaging/conversion_output.h"

#include <zvprinter/ZVAlgorithmManager.h>

namespace zv::detail {

std::optional<Canvas> conversionCanvas(const ZVImage &image) {
  return drawnCanvas(image, image.pixelWidth(), image.pixelHeight());
}

ZVData printData(Raster &raster, bool invert, int64_t compress, bool package) {
  const auto length = static_cast<int32_t>(raster.bytes.size());
  if (invert) ZVAlgorithmManager::negativeBuffer(raster.bytes.data(), length);
  return ZVAlgorithmManager::managerData(raster.bytes.data(), length, raster.bytesPerRow,
                                         raster.height, compress, package);
}

std::vector<ZVBitmapSlice> printSlices(const Raster &raster) {
  return ZVAlgorithmManager::generateBitmapSlices(raster.bytes.data(),
                                                  static_cast<int32_t>(raster.bytes.size()),
                                                  raster.bytesPerRow, raster.height);
}

} // namespace zv::detail
