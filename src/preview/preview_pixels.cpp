#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "preview/pixel_ops.h"

int64_t ZVImagePreviewManager::getNearstColor(uint8_t r, uint8_t g, uint8_t b) {
  return zv::detail::nearestColor(r, g, b);
}

uint32_t ZVImagePreviewManager::getPixel(const uint32_t *pixels, int32_t width, int32_t height,
                                         int32_t row, int32_t column, float rate,
                                         const int32_t *eRgb) {
  if (!pixels || !eRgb) return zv::detail::kOutsidePixel;
  return zv::detail::diffusedPixel(pixels, width, height, row, column, rate, eRgb);
}

void ZVImagePreviewManager::setPixel(uint32_t *pixels, int32_t width, int32_t height, int32_t row,
                                     int32_t column, uint32_t value) {
  if (pixels) zv::detail::storePixel(pixels, width, height, row, column, value);
}
