// The bitmap manager's renderings for display and its tone operations, which
// lead to the preview manager and the algorithm manager.

#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImagePreviewManager.h>

std::optional<ZVImage> ZVBitmapManager::generateRenderingWithImage(const ZVImage &image,
                                                                   int64_t mode, double fGamma,
                                                                   bool gammaType) {
  if (mode == 1) return ZVImagePreviewManager::ditheringPreviewWithImage(image);
  if (mode == 0) return ZVImagePreviewManager::binaryPreviewWithImage(image);
  return ZVImagePreviewManager::grayScalePreviewWithImage(image, fGamma, gammaType);
}

std::optional<ZVImage> ZVBitmapManager::imageToSharpen(const ZVImage &image) {
  return ZVAlgorithmManager::imageToSharpen(image);
}

std::optional<ZVImage> ZVBitmapManager::imageToTransparent(const ZVImage &image) {
  return ZVAlgorithmManager::imageToTransparent(image);
}

ZVRect ZVBitmapManager::contentInImage(const ZVImage &image) {
  return ZVImagePreviewManager::removeWhiteAreaData(image);
}
