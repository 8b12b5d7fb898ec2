// Two-colour Floyd-Steinberg preview on the colour pixels.

#include <zvprinter/ZVImagePreviewManager.h>

#include "imaging/byte_conversion.h"
#include "imaging/point_size.h"
#include "preview/drawn_pixels.h"

#include <memory>
#include <vector>

namespace {

// Red in the top byte, then green and blue; the drawn alpha sits in the low
// byte, which nothing reads.
std::vector<uint32_t> packedPixels(std::span<const uint8_t> drawn) {
  std::vector<uint32_t> packed(drawn.size() / 4);
  const uint8_t *px = drawn.data();
  for (uint32_t &value : packed) {
    value = uint32_t{px[0]} << 24 | uint32_t{px[1]} << 16 | uint32_t{px[2]} << 8 | px[3];
    px += 4;
  }
  return packed;
}

struct Rgb {
  int32_t r, g, b;
};

Rgb unpack(uint32_t pixel) {
  return {static_cast<int32_t>(pixel >> 24), static_cast<int32_t>((pixel >> 16) & 0xFFu),
          static_cast<int32_t>((pixel >> 8) & 0xFFu)};
}

uint32_t pack(const Rgb &c, uint32_t lowByteFrom) {
  return static_cast<uint32_t>(c.r) << 24 | static_cast<uint32_t>(c.g) << 16 |
         static_cast<uint32_t>(c.b) << 8 | (lowByteFrom & 0xFFu);
}

// Writes the output pixel and returns the error of choosing it.
Rgb quantise(const Rgb &c, uint8_t *rgba) {
  // r^2 + g^2 + b^2 >= (255 - r)^2 + (255 - g)^2 + (255 - b)^2 reduces to
  // 2 (r + g + b) >= 765, tie included (checked for every colour).
  const bool white = 2 * (c.r + c.g + c.b) >= 765;
  rgba[0] = rgba[1] = rgba[2] = white ? 255 : 0;
  rgba[3] = 255;
  return white ? Rgb{c.r - 255, c.g - 255, c.b - 255} : c;
}

// clamp(channel + trunc(K / 16 x e)): the single-precision product K / 16 x e
// is exact for |e| <= 255, so integer division (toward zero) gives the same.
template <int K> Rgb addShare(const Rgb &c, const Rgb &e) {
  using zv::detail::clampChannel;
  return {clampChannel(c.r + K * e.r / 16), clampChannel(c.g + K * e.g / 16),
          clampChannel(c.b + K * e.b / 16)};
}

// One row, left to right, with the row below it (or none on the last row).
// The pixel ahead and the three pixels below that the current one reaches
// are carried in registers; each still receives its shares in the order of
// the pixel-by-pixel description, clamped after every share. Places outside
// the image are skipped, so nothing wraps to another row.
void diffuseRow(const uint32_t *row, uint32_t *below, size_t width, uint8_t *out) {
  Rgb current = unpack(row[0]);
  Rgb belowLeft{}; // below[x - 1]
  Rgb belowHere = below ? unpack(below[0]) : Rgb{};
  for (size_t x = 0; x < width; ++x) {
    const Rgb e = quantise(current, out + x * 4);
    const bool ahead = x + 1 < width;
    if (ahead) current = addShare<7>(unpack(row[x + 1]), e);
    if (!below) continue;
    belowHere = addShare<5>(belowHere, e);
    if (x > 0) below[x - 1] = pack(addShare<3>(belowLeft, e), below[x - 1]);
    belowLeft = belowHere;
    if (ahead) belowHere = addShare<1>(unpack(below[x + 1]), e);
  }
  if (below) below[width - 1] = pack(belowLeft, below[width - 1]);
}

// Diffuses in place in @p work and writes opaque black or white to @p rgba.
void diffuse(std::vector<uint32_t> &work, size_t width, size_t height, uint8_t *rgba) {
  for (size_t y = 0; y < height; ++y) {
    uint32_t *row = work.data() + y * width;
    diffuseRow(row, y + 1 < height ? row + width : nullptr, width, rgba + y * width * 4);
  }
}

} // namespace

// Both buffers of the platform's version were drawn without being cleared;
// the working buffer here starts zeroed, so transparent areas read as black
// as in the other previews. The output buffer needs no drawing: every pixel
// of it is written, black as R, G, B 0 with the fourth byte 0xFF, or white.
std::optional<ZVImage> ZVImagePreviewManager::ditheringPreviewWithImage(const ZVImage &image) {
  const auto size = zv::detail::truncatedPointSize(image);
  const auto drawn = zv::detail::DrawnPixels::draw(image, size.width, size.height);
  if (!drawn) return std::nullopt;
  std::vector<uint32_t> work = packedPixels(drawn->bytes());
  const size_t bytes = drawn->bytes().size();
  ZVData rgba(bytes);
  diffuse(work, size.width, size.height, rgba.data());
  return ZVImage::fromRGBA(size.width, size.height, std::move(rgba));
}
