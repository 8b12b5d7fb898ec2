#include "platform/canvas.h"

#include "platform/image_codec.h"

#include <pixman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace zv::detail {

namespace {

struct PixmanImageDeleter {
  void operator()(pixman_image_t *image) const { pixman_image_unref(image); }
};
using PixmanImage = std::unique_ptr<pixman_image_t, PixmanImageDeleter>;

// In memory R, G, B, A; on a little-endian CPU that is pixman's a8b8g8r8.
PixmanImage wrap(uint32_t width, uint32_t height, uint8_t *bytes,
                 pixman_format_code_t format = PIXMAN_a8b8g8r8) {
  return PixmanImage(
      pixman_image_create_bits(format, static_cast<int>(width), static_cast<int>(height),
                               reinterpret_cast<uint32_t *>(bytes), static_cast<int>(width * 4)));
}

void premultiplyInto(const uint8_t *straight, uint8_t *out, size_t pixelCount) {
  for (size_t i = 0; i < pixelCount; ++i, straight += 4, out += 4) {
    const uint8_t a = straight[3];
    if (a == 255) {
      std::copy_n(straight, 4, out);
    } else {
      out[0] = premultiply(straight[0], a);
      out[1] = premultiply(straight[1], a);
      out[2] = premultiply(straight[2], a);
      out[3] = a;
    }
  }
}

// Alpha bytes of two pixels read as one little-endian 64-bit word.
constexpr uint64_t kOpaquePair = 0xFF000000FF000000u;

bool pairIsOpaque(const uint8_t *pixels) {
  uint64_t pair;
  std::memcpy(&pair, pixels, sizeof pair);
  return (pair & kOpaquePair) == kOpaquePair;
}

// Opaque pixels are already premultiplied; most photos are opaque all over,
// so whole pairs of pixels are tested at once and skipped.
void premultiplyInPlace(uint8_t *pixels, size_t pixelCount) {
  size_t i = 0;
  for (; i + 2 <= pixelCount; i += 2)
    if (!pairIsOpaque(pixels + i * 4)) premultiplyInto(pixels + i * 4, pixels + i * 4, 2);
  if (i < pixelCount) premultiplyInto(pixels + i * 4, pixels + i * 4, 1);
}

// Averaging uses a box sampling kernel as wide as one canvas pixel in source
// pixels, reconstructed linearly, with 16 sub-pixel phases: each canvas pixel
// becomes the mean of the source pixels under it. Only reductions need it.
void setFilter(pixman_image_t *source, Resampling resampling, double xRatio, double yRatio) {
  if (resampling == Resampling::Averaging && (xRatio > 1.0 || yRatio > 1.0)) {
    int count = 0;
    pixman_fixed_t *params = pixman_filter_create_separable_convolution(
        &count, pixman_double_to_fixed(std::max(xRatio, 1.0)),
        pixman_double_to_fixed(std::max(yRatio, 1.0)), PIXMAN_KERNEL_LINEAR, PIXMAN_KERNEL_LINEAR,
        PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, 4, 4);
    if (params) {
      const bool set =
          pixman_image_set_filter(source, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, params, count);
      std::free(params);
      if (set) return;
    }
  }
  pixman_image_set_filter(source, PIXMAN_FILTER_BILINEAR, nullptr, 0);
}

} // namespace

bool isOpaque(const ZVImage &image) {
  const uint8_t *pixels = image.rgba().data();
  const size_t count = image.rgba().size() / 4;
  // Eight pixels per step, so the loop runs on without a branch per pixel.
  size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    bool opaque = true;
    for (size_t k = 0; k < 8; k += 2)
      opaque &= pairIsOpaque(pixels + (i + k) * 4);
    if (!opaque) return false;
  }
  for (; i < count; ++i)
    if (pixels[i * 4 + 3] != 255) return false;
  return true;
}

std::optional<Canvas> makeCanvas(uint32_t width, uint32_t height) {
  if (!sizeWithinCaps(width, height)) return std::nullopt;
  Canvas canvas{width, height, {}};
  canvas.pixels.assign(size_t{width} * height * 4, 0);
  return canvas;
}

void fillCanvas(Canvas &canvas, uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
  for (size_t i = 0; i < canvas.pixels.size(); i += 4) {
    canvas.pixels[i] = r;
    canvas.pixels[i + 1] = g;
    canvas.pixels[i + 2] = b;
    canvas.pixels[i + 3] = a;
  }
}

void drawImage(Canvas &canvas, const ZVImage &image, int64_t x, int64_t y, uint32_t width,
               uint32_t height, Resampling resampling) {
  if (width == 0 || height == 0 || canvas.pixels.empty()) return;
  const uint32_t sw = image.pixelWidth();
  const uint32_t sh = image.pixelHeight();
  // An opaque image is its own premultiplied form: pixman reads its bytes
  // as they are (and, told the alpha is all 255, copies instead of
  // blending), so no full-size copy is made.
  std::vector<uint8_t> source;
  PixmanImage src;
  if (isOpaque(image)) {
    src = wrap(sw, sh, const_cast<uint8_t *>(image.rgba().data()), PIXMAN_x8b8g8r8);
  } else {
    source.resize(size_t{sw} * sh * 4);
    premultiplyInto(image.rgba().data(), source.data(), size_t{sw} * sh);
    src = wrap(sw, sh, source.data());
  }
  PixmanImage dst = wrap(canvas.width, canvas.height, canvas.pixels.data());
  if (!src || !dst) return;
  if (sw != width || sh != height) {
    pixman_transform_t scale;
    pixman_transform_init_scale(&scale, pixman_double_to_fixed(double(sw) / width),
                                pixman_double_to_fixed(double(sh) / height));
    pixman_image_set_transform(src.get(), &scale);
    setFilter(src.get(), resampling, double(sw) / width, double(sh) / height);
    pixman_image_set_repeat(src.get(), PIXMAN_REPEAT_PAD);
  }
  // Clip in 64 bits first so the 32-bit coordinates below cannot overflow.
  const int64_t left = std::max<int64_t>(x, 0);
  const int64_t top = std::max<int64_t>(y, 0);
  const int64_t right = std::min<int64_t>(x + width, canvas.width);
  const int64_t bottom = std::min<int64_t>(y + height, canvas.height);
  if (left >= right || top >= bottom) return;
  pixman_image_composite32(PIXMAN_OP_OVER, src.get(), nullptr, dst.get(),
                           static_cast<int32_t>(left - x), static_cast<int32_t>(top - y), 0, 0,
                           static_cast<int32_t>(left), static_cast<int32_t>(top),
                           static_cast<int32_t>(right - left), static_cast<int32_t>(bottom - top));
}

std::optional<Canvas> drawnCanvas(const ZVImage &image, uint32_t width, uint32_t height) {
  if (width == image.pixelWidth() && height == image.pixelHeight()) {
    // A plain copy, premultiplied in place: no zero fill, one write pass.
    Canvas canvas{width, height, {image.rgba().begin(), image.rgba().end()}};
    premultiplyInPlace(canvas.pixels.data(), size_t{width} * height);
    return canvas;
  }
  auto canvas = makeCanvas(width, height);
  if (!canvas) return std::nullopt;
  drawImage(*canvas, image, 0, 0, width, height);
  return canvas;
}

std::optional<ZVImage> imageFromCanvas(const Canvas &canvas, double scale) {
  std::vector<uint8_t> straight(canvas.pixels.size());
  for (size_t i = 0; i < canvas.pixels.size(); i += 4) {
    const uint8_t a = canvas.pixels[i + 3];
    for (size_t c = 0; c < 3; ++c) {
      const unsigned v = canvas.pixels[i + c];
      straight[i + c] = a == 0 ? 0 : static_cast<uint8_t>(std::min(255u, (v * 255 + a / 2) / a));
    }
    straight[i + 3] = a;
  }
  return ZVImage::fromRGBA(canvas.width, canvas.height, std::move(straight), scale);
}

} // namespace zv::detail
