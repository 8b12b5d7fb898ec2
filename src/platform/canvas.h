#pragma once

// The drawing surface that stands in for the phone platform's bitmap
// contexts. A canvas holds premultiplied RGBA, bytes R, G, B, A in memory,
// rows top first, stride 4 x width, zeroed when made (transparent black).
//
// Coordinates have their origin at the top left with y pointing down, so an
// image drawn into (0, 0, w, h) has its top row in canvas row 0; this is
// what the platform produced both for its default drawing and for the
// explicitly flipped drawing some operations asked for.

#include <zvprinter/ZVImage.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace zv::detail {

struct Canvas {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> pixels; // 4 x width x height premultiplied bytes

  uint8_t *row(uint32_t y) { return pixels.data() + size_t{y} * width * 4; }
  const uint8_t *row(uint32_t y) const { return pixels.data() + size_t{y} * width * 4; }
};

/// A zeroed canvas, or std::nullopt when a side is 0 or the size exceeds
/// ZVImage's caps (the platform refusing the context).
std::optional<Canvas> makeCanvas(uint32_t width, uint32_t height);

/// Premultiplies a straight channel as the platform's drawing does.
inline uint8_t premultiply(uint8_t channel, uint8_t alpha) {
  return static_cast<uint8_t>((channel * alpha + 127) / 255);
}

/// Whether every pixel of @p image has alpha 255: drawing such an image at
/// its own size yields its bytes unchanged.
bool isOpaque(const ZVImage &image);

/// Fills the whole canvas with one premultiplied colour.
void fillCanvas(Canvas &canvas, uint8_t r, uint8_t g, uint8_t b, uint8_t a);

/// How drawing resamples an image drawn at another size.
enum class Resampling {
  /// Bilinear, as the platform's drawing does (and every conversion expects).
  Bilinear,
  /// Area averaging where the image is reduced (each canvas pixel the mean of
  /// the source pixels it covers), bilinear where it is enlarged.
  Averaging,
};

/// Draws @p image source-over into the rectangle (x, y, width, height) of the
/// canvas, resampling when the rectangle's size differs from the image's
/// pixel size; parts outside the canvas are clipped.
void drawImage(Canvas &canvas, const ZVImage &image, int64_t x, int64_t y, uint32_t width,
               uint32_t height, Resampling resampling = Resampling::Bilinear);

/// A canvas of width x height with @p image drawn into (0, 0, width, height);
/// the common first step of every conversion. Drawing at the image's own
/// pixel size is a plain premultiplying copy.
std::optional<Canvas> drawnCanvas(const ZVImage &image, uint32_t width, uint32_t height);

/// The canvas as an image of straight RGBA (alpha un-premultiplied, rounded).
std::optional<ZVImage> imageFromCanvas(const Canvas &canvas, double scale = 1.0);

} // namespace zv::detail
