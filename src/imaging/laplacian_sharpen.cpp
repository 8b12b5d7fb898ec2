// 5 x 5 Laplacian sharpening of a gray plane followed by serpentine error
// diffusion to a small set of gray levels. Planes have rows padded to a
// multiple of 4 bytes; the padding is neither read nor written.

#include <zvprinter/ZVPrinterC.h>

#include "imaging/byte_conversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

// The non-zero off-centre weights of the Laplacian-of-Gaussian kernel
//   0  0 -1  0  0 /  0 -1 -2 -1  0 / -1 -2 16 -2 -1 /  0 -1 -2 -1  0 /  0  0 -1  0  0
// as (dx, dy, weight). Zero weights add nothing to either sum; the centre
// enters through the sum of the weights of the neighbours inside the image.
struct Tap {
  int dx, dy, weight;
};
constexpr std::array<Tap, 12> kTaps{{{0, -2, -1},
                                     {-1, -1, -1},
                                     {0, -1, -2},
                                     {1, -1, -1},
                                     {-2, 0, -1},
                                     {-1, 0, -2},
                                     {1, 0, -2},
                                     {2, 0, -1},
                                     {-1, 1, -1},
                                     {0, 1, -2},
                                     {1, 1, -1},
                                     {0, 2, -1}}};

struct Plane {
  size_t width, height, stride;
};

// s - k * centre for a pixel whose 5 x 5 neighbourhood may leave the image.
int32_t borderLaplacian(const uint8_t *src, const Plane &p, size_t x, size_t y) {
  int32_t s = 0, k = 0;
  for (const Tap &t : kTaps) {
    const auto nx = static_cast<ptrdiff_t>(x) + t.dx;
    const auto ny = static_cast<ptrdiff_t>(y) + t.dy;
    if (nx < 0 || ny < 0 || nx >= static_cast<ptrdiff_t>(p.width) ||
        ny >= static_cast<ptrdiff_t>(p.height))
      continue;
    s += t.weight * src[static_cast<size_t>(ny) * p.stride + static_cast<size_t>(nx)];
    k += t.weight;
  }
  return s - k * src[y * p.stride + x];
}

int32_t interiorLaplacian(const uint8_t *c, ptrdiff_t stride) {
  const uint8_t *up2 = c - 2 * stride, *up = c - stride, *dn = c + stride, *dn2 = c + 2 * stride;
  const int32_t s = -(up2[0] + up[-1] + 2 * up[0] + up[1] + c[-2] + 2 * c[-1] + 2 * c[1] + c[2] +
                      dn[-1] + 2 * dn[0] + dn[1] + dn2[0]);
  return s + 16 * c[0];
}

void sharpenInto(float *work, const uint8_t *src, const Plane &p, double strength) {
  const bool sharpen = std::fabs(strength) > 0.1;
  for (size_t y = 0; y < p.height; ++y) {
    const uint8_t *row = src + y * p.stride;
    float *out = work + y * p.stride;
    const bool innerRow = y >= 2 && y + 2 < p.height;
    for (size_t x = 0; x < p.width; ++x) {
      float w = 0.0f;
      if (sharpen) {
        const bool inner = innerRow && x >= 2 && x + 2 < p.width;
        const int32_t diff = inner ? interiorLaplacian(row + x, static_cast<ptrdiff_t>(p.stride))
                                   : borderLaplacian(src, p, x, y);
        w = static_cast<float>(diff / strength);
      }
      out[x] = w + static_cast<float>(row[x]);
    }
  }
}

struct Palette {
  size_t count = 0;
  std::array<float, 256> gray{};       // L[k], falling from 255 to 0
  std::array<uint8_t, 256> bytes{};    // truncate(L[k] + 0.5)
  std::array<float, 256> byteValues{}; // the same as floats
  std::array<float, 255> threshold{};  // (L[j] + L[j + 1]) / 2

  Palette(const float *levels, uint32_t levelCount) {
    count = levelCount < 3 ? 2 : (levelCount > 256 ? 256 : levelCount);
    const float first = levels[0];
    const float span = levels[count - 1] - first;
    for (size_t k = 0; k < count; ++k) {
      float l = 255.0f - (levels[k] - first) * 255.0f / span;
      if (l < 0.0f) l = 0.0f;
      if (l > 255.0f) l = 255.0f;
      gray[k] = l;
      bytes[k] = zv::detail::truncateToByte(double{l} + 0.5);
      byteValues[k] = bytes[k];
    }
    for (size_t j = 0; j + 1 < count; ++j)
      threshold[j] = (gray[j] + gray[j + 1]) / 2.0f;
    falling = true;
    for (size_t j = 0; j + 2 < count; ++j)
      falling = falling && threshold[j] >= threshold[j + 1];
    firstSixteen.fill(-std::numeric_limits<float>::infinity());
    std::copy_n(threshold.begin(), std::min<size_t>(count - 1, 16), firstSixteen.begin());
  }

  // The first j with value > threshold[j], else count - 1. With falling
  // thresholds (rising levels) that test is false up to j and true after, so
  // j is the number of thresholds it fails, which is counted without
  // branches; for up to 16 thresholds over a fixed, padded array (no value
  // fails the padding, and a NaN value, failing all, is capped).
  size_t choose(float value) const {
    size_t j = 0;
    if (falling && count <= 17) {
      for (const float t : firstSixteen)
        j += !(value > t);
      return std::min(j, count - 1);
    }
    if (falling) {
      for (size_t t = 0; t + 1 < count; ++t)
        j += !(value > threshold[t]);
      return j;
    }
    while (j + 1 < count && !(value > threshold[j]))
      ++j;
    return j;
  }

  std::array<float, 16> firstSixteen{};
  bool falling = false;
};

// Diffuses one row; Dir +1 runs left to right, -1 right to left.
// Diffuses one row; Dir +1 runs left to right, -1 right to left. The value
// of the pixel ahead is carried from one step to the next rather than stored
// and read back; nothing else reads it.
template <int Dir>
void diffuseRow(float *work, uint8_t *out, const Plane &p, size_t y, const Palette &palette) {
  float *row = work + y * p.stride;
  float *below = y + 1 < p.height ? row + p.stride : nullptr;
  uint8_t *outRow = out + y * p.stride;
  const auto last = static_cast<ptrdiff_t>(p.width) - 1;
  float current = row[Dir > 0 ? 0 : last];
  for (ptrdiff_t i = 0; i <= last; ++i) {
    const ptrdiff_t x = Dir > 0 ? i : last - i;
    const size_t level = palette.choose(current);
    outRow[x] = palette.bytes[level];
    const float e = current - palette.byteValues[level];
    const bool ahead = i < last;
    const bool behind = i > 0;
    if (below && ahead && behind) {
      const double ed = e;
      current = static_cast<float>(row[x + Dir] + ed * 0.4375);
      below[x] = static_cast<float>(below[x] + ed * 0.3125);
      below[x + Dir] = static_cast<float>(below[x + Dir] + ed * 0.0625);
      below[x - Dir] = static_cast<float>(below[x - Dir] + ed * 0.1875);
      continue;
    }
    const int receivers = int{ahead} + (below ? 1 + int{ahead} + int{behind} : 0);
    const float share = receivers > 0 ? e / static_cast<float>(receivers) : 0.0f;
    if (ahead) current = row[x + Dir] + share;
    if (below) {
      below[x] += share;
      if (ahead) below[x + Dir] += share;
      if (behind) below[x - Dir] += share;
    }
  }
}

} // namespace

extern "C" void SharpLaplacianCl_New(uint8_t *out, const uint8_t *src, int32_t width,
                                     int32_t height, uint32_t levelCount, const float *levels,
                                     uint8_t *paletteOut, float *work, double strength) {
  if (!src || !out || !levels || !work) return;
  if (width <= 0 || height <= 0) return;
  const auto w = static_cast<size_t>(width);
  const Plane plane{w, static_cast<size_t>(height), zv::detail::paddedStride(w)};
  sharpenInto(work, src, plane, strength);

  const Palette palette(levels, levelCount);
  if (paletteOut)
    for (size_t k = 0; k < palette.count; ++k)
      paletteOut[k] = palette.bytes[k];

  for (size_t y = 0; y < plane.height; ++y) {
    if (y % 2 == 0)
      diffuseRow<1>(work, out, plane, y, palette);
    else
      diffuseRow<-1>(work, out, plane, y, palette);
  }
}
