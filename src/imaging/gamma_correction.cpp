// Tone curve of one byte plane: a power law or a natural cubic spline through
// eleven control points, applied through a 256-entry table.

#include <zvprinter/ZVPrinterC.h>

#include "imaging/byte_conversion.h"

#include <array>
#include <cmath>

namespace {

constexpr int kKnots = 11;
constexpr std::array<double, kKnots> kKnotX{0.0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0};

// Natural cubic spline (second derivative 0 at both ends) through
// (kKnotX[k], y[k]); segment k holds y[k] + b dx + c dx^2 + d dx^3.
struct Spline {
  std::array<double, kKnots> a{}, b{}, c{}, d{};

  explicit Spline(const double *y) {
    std::array<double, kKnots> h{}, alpha{}, l{}, mu{}, z{};
    for (int k = 0; k < kKnots; ++k)
      a[k] = y[k];
    for (int k = 0; k + 1 < kKnots; ++k)
      h[k] = kKnotX[k + 1] - kKnotX[k];
    for (int k = 1; k + 1 < kKnots; ++k)
      alpha[k] = 3.0 / h[k] * (a[k + 1] - a[k]) - 3.0 / h[k - 1] * (a[k] - a[k - 1]);
    l[0] = 1.0;
    for (int k = 1; k + 1 < kKnots; ++k) {
      l[k] = 2.0 * (kKnotX[k + 1] - kKnotX[k - 1]) - h[k - 1] * mu[k - 1];
      mu[k] = h[k] / l[k];
      z[k] = (alpha[k] - h[k - 1] * z[k - 1]) / l[k];
    }
    for (int k = kKnots - 2; k >= 0; --k) {
      c[k] = z[k] - mu[k] * c[k + 1];
      b[k] = (a[k + 1] - a[k]) / h[k] - h[k] * (c[k + 1] + 2.0 * c[k]) / 3.0;
      d[k] = (c[k + 1] - c[k]) / (3.0 * h[k]);
    }
  }

  double operator()(double x) const {
    int k = 0;
    while (k < kKnots - 2 && !(x <= kKnotX[k + 1]))
      ++k;
    const double dx = x - kKnotX[k];
    return a[k] + b[k] * dx + c[k] * dx * dx + d[k] * dx * dx * dx;
  }
};

std::array<uint8_t, 256> toneTable(bool gammaType, const double *curve, float gamma) {
  std::array<uint8_t, 256> table{};
  if (gammaType && curve) {
    const Spline spline(curve);
    for (int i = 0; i < 256; ++i)
      table[i] = zv::detail::truncateToByte(spline(i / 255.0) * 255.0 + 0.5);
  } else if (!gammaType) {
    const float exponent = 1.0f / gamma;
    for (int i = 0; i < 256; ++i)
      table[i] = zv::detail::truncateToByte(std::pow(i / 255.0, double{exponent}) * 255.0 + 0.5);
  }
  return table;
}

} // namespace

extern "C" void GammaCorrectiom_New(const uint8_t *src, int32_t width, uint32_t height,
                                    uint32_t channels, uint8_t *dst, bool gammaType,
                                    const double *curve, float gamma) {
  if (!src || !dst || width <= 0 || channels == 0) return;
  if (gammaType && !curve) return;
  const std::array<uint8_t, 256> table = toneTable(gammaType, curve, gamma);
  const size_t rowBytes = size_t{channels} * static_cast<uint32_t>(width);
  const size_t stride = zv::detail::paddedStride(rowBytes);
  for (size_t r = 0; r < height; ++r) {
    const uint8_t *in = src + r * stride;
    uint8_t *out = dst + r * stride;
    for (size_t i = 0; i < rowBytes; ++i)
      out[i] = table[in[i]];
  }
}
