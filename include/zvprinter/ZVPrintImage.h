/// @file ZVPrintImage.h
/// @brief Prepares a user's picture for the printer so that none of it is
/// silently lost: composed over white paper, fitted to the print width and
/// padded to whole bytes.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>

/// How a picture is fitted to the paper.
struct ZVPrintImageOptions {
  /// Dots the print head covers in one row; 0 means
  /// ZVPrintImage::kDefaultPrintWidthDots.
  uint32_t printWidthDots = 0;
  /// Also scale pictures narrower than the print width up to it. Off by
  /// default: a small picture prints at its own size, one dot per pixel.
  bool enlarge = false;
};

/// The print layer's image preparation, in front of ZVBitmapManager.
///
/// The conversions of ZVBitmapManager and ZVAlgorithmManager treat every
/// pixel whose alpha is below 255 as white in the threshold and
/// error-diffusion modes (a picture with alpha 254 everywhere prints blank
/// while its preview shows it dark), leave out the last width % 8 columns in
/// error diffusion, and print a picture at whatever width it has. prepare()
/// removes all three surprises before the conversion runs:
///
/// 1. Pixels are counted, not points: a picture of scale 2 prints with all
///    its pixels.
/// 2. Wider than the print width (or narrower, with `enlarge`): scaled to
///    exactly the print width, keeping the aspect ratio (height rounded to
///    the nearest row, at least 1). Reductions average the source pixels
///    each dot covers, so fine detail turns into gray rather than aliasing.
/// 3. Composed over opaque white paper, as the picture looks on a white
///    page: every resulting pixel has alpha 255.
/// 4. Padded on the right with white to a multiple of 8 pixels, so every
///    column of the picture reaches the raster.
///
/// The result is opaque, has scale 1 and a width that is a multiple of 8
/// (and at most the print width rounded up to a multiple of 8).
///
/// Threading: stateless; every operation may run on any thread, also
/// several at once.
class ZV_EXPORT ZVPrintImage {
public:
  /// The width of the common 80 mm head (72 mm printable at 8 dots/mm).
  static constexpr uint32_t kDefaultPrintWidthDots = 576;

  ZVPrintImage() = delete;

  /// The picture as the printer should get it (see the class description).
  /// std::nullopt only when the result would exceed ZVImage's size caps.
  static std::optional<ZVImage> prepare(const ZVImage &image,
                                        const ZVPrintImageOptions &options = {});

  /// prepare(), then the framed LZO1X print data of @p mode (0 threshold,
  /// 1 error diffusion, 2 clustered dot) exactly as the printer takes it.
  /// std::nullopt for another mode or when preparation fails.
  static std::optional<ZVData> printData(const ZVImage &image, int64_t mode,
                                         const ZVPrintImageOptions &options = {});
};
