// The print layer's image preparation: white paper under the picture, the
// print width, whole bytes per row.
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVPrintImage.h>

#include "imaging/conversion_output.h"
#include "imaging/raster_kernels.h"
#include "platform/canvas.h"

#include <cmath>

namespace {

constexpr int64_t kLzoCompression = 48;

uint32_t roundUpToByte(uint32_t dots) {
  return static_cast<uint32_t>((uint64_t{dots} + 7) / 8 * 8);
}

struct Fit {
  uint32_t width = 0;
  uint32_t height = 0;
};

// The picture's size on paper: its own, or scaled to the print width with the
// aspect ratio kept (height rounded to the nearest row, at least one).
Fit fitToPaper(const ZVImage &image, uint32_t printWidth, bool enlarge) {
  const uint32_t width = image.pixelWidth();
  const uint32_t height = image.pixelHeight();
  if (width == printWidth || (width < printWidth && !enlarge)) return {width, height};
  const double scaled = std::round(double(height) * printWidth / width);
  const double rows = std::max(1.0, scaled);
  if (rows > double(ZVImage::kMaxSide)) return {}; // refused by makeCanvas below
  return {printWidth, static_cast<uint32_t>(rows)};
}

bool isReadyForPrinting(const ZVImage &image, const Fit &fit) {
  return fit.width == image.pixelWidth() && fit.height == image.pixelHeight() &&
         image.pixelWidth() % 8 == 0 && image.scale() == 1.0 && zv::detail::isOpaque(image);
}

} // namespace

std::optional<ZVImage> ZVPrintImage::prepare(const ZVImage &image,
                                             const ZVPrintImageOptions &options) {
  const uint32_t printWidth =
      options.printWidthDots != 0 ? options.printWidthDots : kDefaultPrintWidthDots;
  const Fit fit = fitToPaper(image, printWidth, options.enlarge);
  if (fit.width == 0) return std::nullopt;
  if (isReadyForPrinting(image, fit)) return image;

  auto paper = zv::detail::makeCanvas(roundUpToByte(fit.width), fit.height);
  if (!paper) return std::nullopt;
  zv::detail::fillCanvas(*paper, 255, 255, 255, 255);
  zv::detail::drawImage(*paper, image, 0, 0, fit.width, fit.height,
                        zv::detail::Resampling::Averaging);
  // Opaque everywhere, so the premultiplied bytes are straight RGBA already.
  return ZVImage::fromRGBA(paper->width, paper->height, std::move(paper->pixels), 1.0);
}

std::optional<ZVData> ZVPrintImage::printData(const ZVImage &image, int64_t mode,
                                              const ZVPrintImageOptions &options) {
  if (mode < 0 || mode > 2) return std::nullopt;
  const auto prepared = prepare(image, options);
  if (!prepared) return std::nullopt;
  // The clustered raster marks a dot with 1, the printer prints bit 0: the
  // print layer hands it the complement, so paper shows the picture and not
  // its negative (the described conversion keeps its own bits).
  auto data =
      mode == 2
          ? zv::detail::printData(zv::detail::convertedRaster(*prepared, zv::detail::clusterRaster),
                                  true, kLzoCompression, true)
          : ZVBitmapManager::generateGenralDataWithImage(*prepared, false, mode, kLzoCompression,
                                                         true);
  if (!data || data->empty()) return std::nullopt;
  return data;
}
