// The public print-data entry: optional blank band ("watermark") above the
// image, then the conversion chosen by mode.
#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>

#include "platform/canvas.h"

#include <cmath>

namespace {

// Sides in points become whole canvas pixels, rounded up so the image fits.
uint32_t canvasSide(double points) {
  return static_cast<uint32_t>(std::ceil(points));
}

} // namespace

// The band is 16 points high below 500 points of width, else 24; the canvas
// is opaque white at one pixel per point, and the image is drawn below the
// band at its size in points (resampled when its scale is not 1).
std::optional<ZVImage> ZVBitmapManager::puzzleImageWithBottomImage(const ZVImage &image) {
  const ZVSize size = image.size();
  const uint32_t band = 500 > size.width ? 16 : 24;
  const uint32_t width = canvasSide(size.width);
  const uint32_t height = canvasSide(size.height);
  auto canvas =
      zv::detail::makeCanvas(width, uint64_t{height} + band > UINT32_MAX ? 0 : height + band);
  if (!canvas) return std::nullopt;
  zv::detail::fillCanvas(*canvas, 255, 255, 255, 255);
  zv::detail::drawImage(*canvas, image, 0, band, width, height);
  // Opaque everywhere, so the premultiplied bytes are already straight RGBA;
  // the image takes them over rather than holding a second copy.
  return ZVImage::fromRGBA(canvas->width, canvas->height, std::move(canvas->pixels), 1.0);
}

std::optional<ZVData> ZVBitmapManager::generateGenralDataWithImage(const ZVImage &image,
                                                                   bool watermark, int64_t mode,
                                                                   int64_t compress, bool package) {
  if (mode < 0 || mode > 2) return ZVData{};
  std::optional<ZVImage> banded;
  if (watermark) {
    banded = puzzleImageWithBottomImage(image);
    if (!banded) return std::nullopt;
  }
  const ZVImage &source = banded ? *banded : image;
  switch (mode) {
  case 2:
    return ZVAlgorithmManager::generateCLosureData(source, compress, package);
  case 1:
    return ZVAlgorithmManager::generateDitheringData(source, compress, package);
  default:
    return ZVAlgorithmManager::generateBinaryData(source, compress, package, false, 0);
  }
}

std::optional<ZVData> ZVBitmapManager::generateBitmapDataWithImage(const ZVImage &image,
                                                                   bool watermark, int64_t mode) {
  return generateGenralDataWithImage(image, watermark, mode, 0, false);
}

std::optional<ZVData> ZVBitmapManager::generateBinaryData(const ZVImage &image, int64_t compress,
                                                          bool isPackage, bool custom,
                                                          uint8_t threshold) {
  return ZVAlgorithmManager::generateBinaryData(image, compress, isPackage, custom, threshold);
}

std::optional<ZVData> ZVBitmapManager::generateDitheringData(const ZVImage &image, int64_t compress,
                                                             bool isPackage) {
  return ZVAlgorithmManager::generateDitheringData(image, compress, isPackage);
}

std::optional<ZVData> ZVBitmapManager::generateClosureData(const ZVImage &image, int64_t compress,
                                                           bool isPackage) {
  return ZVAlgorithmManager::generateCLosureData(image, compress, isPackage);
}

std::optional<ZVData> ZVBitmapManager::printableBinaryData(const ZVImage &image, uint8_t threshold,
                                                           int64_t compress) {
  return ZVAlgorithmManager::generateBinaryData(image, compress, false, true, threshold);
}
