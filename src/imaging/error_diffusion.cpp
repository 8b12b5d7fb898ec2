// Floyd-Steinberg error diffusion to one bit, left to right on every row,
// with this printer's edge rules: the two leftmost columns pass nothing down
// and to the left, and the trailing width % 8 pixels of a row are diffused
// but never packed.
#include "imaging/gray_weighting.h"
#include "imaging/raster_kernels.h"

#include <cstdlib>

namespace zv::detail {
namespace {

struct Spread {
  int32_t ahead, belowBehind, below, belowAhead;
};

// The error is converted to single precision, then to double, and each share
// e x k / 16 is truncated toward zero. The factors are exact binary
// fractions, so for errors a float holds exactly (|e| < 2^24, every error a
// real image produces) integer division by 16 gives the same truncation.
inline Spread spread(int32_t error) {
  if (std::abs(error) < (1 << 24))
    return {error * 7 / 16, error * 3 / 16, error * 5 / 16, error / 16};
  const double e = static_cast<double>(static_cast<float>(error));
  return {static_cast<int32_t>(e * 0.4375), static_cast<int32_t>(e * 0.1875),
          static_cast<int32_t>(e * 0.3125), static_cast<int32_t>(e * 0.0625)};
}

// Transparent or translucent pixels enter as white.
inline int32_t startValue(const uint8_t *px) {
  return px[3] == 255 ? ditherGray(px[0], px[1], px[2]) : 255;
}

} // namespace

Raster ditherRaster(const Canvas &canvas) {
  const uint32_t width = canvas.width;
  Raster raster = makeRaster(width, canvas.height);
  // The row being diffused and the errors collected for the row below it.
  std::vector<int32_t> row(width);
  std::vector<int32_t> below(width, 0);
  for (uint32_t y = 0; y < canvas.height; ++y) {
    const uint8_t *px = canvas.row(y);
    for (uint32_t x = 0; x < width; ++x, px += 4) {
      row[x] = startValue(px) + below[x];
      below[x] = 0;
    }
    const bool hasBelow = y + 1 < canvas.height;
    uint8_t *out = raster.bytes.data() + size_t(raster.bytesPerRow) * y;
    int32_t carried = 0;
    uint32_t bits = 0;
    for (uint32_t x = 0; x < width; ++x) {
      const int32_t old = row[x] + carried;
      const bool dot = old < 129;
      const Spread share = spread(dot ? old : old - 255);
      const bool hasAhead = x + 1 < width;
      carried = hasAhead ? share.ahead : 0;
      if (hasBelow) {
        if (x >= 2) below[x - 1] += share.belowBehind;
        below[x] += share.below;
        if (hasAhead) below[x + 1] += share.belowAhead;
      }
      bits |= uint32_t{dot} << (7 - x % 8);
      if (x % 8 == 7) { // a trailing group of fewer than eight is never stored
        out[x / 8] = static_cast<uint8_t>(bits);
        bits = 0;
      }
    }
  }
  return raster;
}

} // namespace zv::detail
