// Gray-scale preview: power-law gamma, Laplacian sharpening and diffusion to
// sixteen gray levels, at the bitmap's pixel size.

#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "imaging/byte_conversion.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

using LevelTable = std::array<float, 16>;

// Levels of the print heads' gray steps, by bitmap width (printer model).
constexpr LevelTable kLevels384{0.068f, 0.117f, 0.162f, 0.204f, 0.252f, 0.287f, 0.352f, 0.415f,
                                0.467f, 0.525f, 0.641f, 0.754f, 0.87f,  1.042f, 1.184f, 1.297f};
constexpr LevelTable kLevels640{0.066f, 0.087f, 0.117f, 0.156f, 0.205f, 0.256f, 0.296f, 0.35f,
                                0.397f, 0.493f, 0.588f, 0.729f, 0.856f, 0.979f, 1.121f, 1.282f};
constexpr LevelTable kLevelsOther{0.066f, 0.091f, 0.14f,  0.164f, 0.201f, 0.249f, 0.318f, 0.424f,
                                  0.485f, 0.579f, 0.682f, 0.791f, 0.975f, 1.199f, 1.375f, 1.485f};

// Handed to the gamma step, which does not consult it for the power law.
constexpr std::array<double, 11> kToneCurve{0.0, 0.06,  0.12, 0.21,  0.34, 0.48,
                                            0.6, 0.705, 0.81, 0.908, 1.0};

constexpr double kSharpenStrength = 14.0;

const LevelTable &levelsForWidth(uint32_t width) {
  if (width == 384 || width == 432) return kLevels384;
  if (width == 640) return kLevels640;
  return kLevelsOther;
}

// Copies rows between an unpadded gray buffer and a plane whose rows are
// padded to a multiple of 4 bytes (the layout of the tone functions).
void padRows(const uint8_t *gray, size_t width, size_t height, size_t stride, uint8_t *plane) {
  for (size_t y = 0; y < height; ++y)
    std::copy_n(gray + y * width, width, plane + y * stride);
}

void unpadRows(const uint8_t *plane, size_t width, size_t height, size_t stride, uint8_t *gray) {
  for (size_t y = 0; y < height; ++y)
    std::copy_n(plane + y * stride, width, gray + y * width);
}

} // namespace

std::optional<ZVImage> ZVImagePreviewManager::grayScalePreviewWithImage(const ZVImage &image,
                                                                        double fGamma,
                                                                        bool /*gammaType*/) {
  const uint32_t width = image.pixelWidth();
  const uint32_t height = image.pixelHeight();
  // The library once made an exception object here for bitmaps higher than
  // 5000 rows and dropped it unraised; such bitmaps are previewed like others.
  ZVData gray = graylevel256Datas(image);
  if (gray.empty()) return std::nullopt;

  const size_t stride = zv::detail::paddedStride(width);
  const size_t planeSize = stride * height;
  const bool padded = stride != width;
  ZVData source = padded ? ZVData(planeSize, 0) : std::move(gray);
  if (padded) padRows(gray.data(), width, height, stride, source.data());

  ZVData toned(planeSize, 0);
  GammaCorrectiom_New(source.data(), static_cast<int32_t>(width), height, 1, toned.data(), false,
                      kToneCurve.data(), static_cast<float>(fGamma));

  ZVData &sharpened = source; // the source plane is free again
  std::vector<float> work(planeSize, 0.0f);
  std::array<uint8_t, 16> palette{};
  const LevelTable &levels = levelsForWidth(width);
  SharpLaplacianCl_New(sharpened.data(), toned.data(), static_cast<int32_t>(width),
                       static_cast<int32_t>(height), static_cast<uint32_t>(levels.size()),
                       levels.data(), palette.data(), work.data(), kSharpenStrength);

  if (!padded) return imageWithGraylevel256Data(sharpened, width);
  ZVData result(size_t{width} * height);
  unpadRows(sharpened.data(), width, height, stride, result.data());
  return imageWithGraylevel256Data(result, width);
}
