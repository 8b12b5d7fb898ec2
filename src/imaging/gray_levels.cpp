// The gray-level images offered to applications. Each draws the image into
// a premultiplied canvas and reduces every pixel with one weighting, alpha
// ignored (a transparent pixel is black).
#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/gray_weighting.h"
#include "platform/canvas.h"

namespace {

using zv::detail::Canvas;

// A canvas the platform refuses leaves the gray buffer as allocated: zeros.
template <typename Weighting>
ZVData grayLevels(const ZVImage &image, uint32_t width, uint32_t height, Weighting weighting) {
  ZVData gray(size_t{width} * height, 0);
  const auto canvas = zv::detail::drawnCanvas(image, width, height);
  if (!canvas) return gray;
  const uint8_t *px = canvas->pixels.data();
  for (uint8_t &value : gray) {
    value = weighting(px[0], px[1], px[2]);
    px += 4;
  }
  return gray;
}

} // namespace

ZVData ZVAlgorithmManager::graylevel256Datas(const ZVImage &image) {
  return grayLevels(image, image.pixelWidth(), image.pixelHeight(), zv::detail::histogramGray);
}

// Stands in for drawing into a gray colour space: Rec. 601 luma of the
// premultiplied colour (the image composited onto black), rounded to nearest.
ZVData ZVAlgorithmManager::systemGraylevel256Datas(const ZVImage &image) {
  return grayLevels(image, image.pixelWidth(), image.pixelHeight(),
                    [](uint32_t r, uint32_t g, uint32_t b) {
                      return static_cast<uint8_t>((299 * r + 587 * g + 114 * b + 500) / 1000);
                    });
}

// A bitmap exactly 432 pixels wide is drawn 1.5 times as high (truncated),
// resampled by the canvas.
ZVData ZVAlgorithmManager::hdImage256Datas(const ZVImage &image) {
  const uint32_t width = image.pixelWidth();
  uint32_t height = image.pixelHeight();
  if (width == 432) height = static_cast<uint32_t>(height * 1.5);
  return grayLevels(image, width, height, zv::detail::printGray);
}

ZVData ZVAlgorithmManager::generateCluserGaryDatas(const ZVImage &image, bool reverse) {
  ZVData gray = grayLevels(image, image.pixelWidth(), image.pixelHeight(), zv::detail::printGray);
  if (reverse)
    for (uint8_t &value : gray)
      value = static_cast<uint8_t>(~value);
  return gray;
}
