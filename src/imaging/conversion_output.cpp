#include "imaging/conversion_output.h"

#include <zvprinter/ZVAlgorithmManager.h>

namespace zv::detail {

std::optional<Raster> convertedRaster(const ZVImage &image, const RasterKernel &kernel) {
  if (isOpaque(image))
    return kernel(Pixels(image.rgba().data(), image.pixelWidth(), image.pixelHeight()));
  const auto canvas = drawnCanvas(image, image.pixelWidth(), image.pixelHeight());
  if (!canvas) return std::nullopt;
  return kernel(*canvas);
}

std::optional<ZVData> printData(std::optional<Raster> raster, bool invert, int64_t compress,
                                bool package) {
  if (!raster) return std::nullopt;
  const auto length = static_cast<int32_t>(raster->bytes.size());
  if (invert) ZVAlgorithmManager::negativeBuffer(raster->bytes.data(), length);
  return ZVAlgorithmManager::managerData(raster->bytes.data(), length, raster->bytesPerRow,
                                         raster->height, compress, package);
}

std::optional<std::vector<ZVBitmapSlice>> printSlices(const std::optional<Raster> &raster) {
  if (!raster) return std::nullopt;
  return ZVAlgorithmManager::generateBitmapSlices(raster->bytes.data(),
                                                  static_cast<int32_t>(raster->bytes.size()),
                                                  raster->bytesPerRow, raster->height);
}

} // namespace zv::detail
