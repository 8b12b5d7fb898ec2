#pragma once

// The preview's gray formula over a premultiplied canvas.

#include <zvprinter/ZVTypes.h>

#include <array>
#include <cstdint>
#include <span>

namespace zv::detail {

/// truncate(0.11448 R + 0.58661 G + 0.29891 B) in double precision, evaluated
/// left to right. The products come from tables: the same doubles as
/// multiplying each time, so the sums and their truncation are unchanged.
class PreviewGrayFormula {
public:
  PreviewGrayFormula() {
    for (int v = 0; v < 256; ++v) {
      red_[v] = 0.11448 * v;
      green_[v] = 0.58661 * v;
      blue_[v] = 0.29891 * v;
    }
  }

  uint8_t operator()(const uint8_t *px) const {
    return static_cast<uint8_t>(red_[px[0]] + green_[px[1]] + blue_[px[2]]);
  }

private:
  std::array<double, 256> red_{}, green_{}, blue_{};
};

/// One gray byte per premultiplied RGBA pixel.
ZVData previewGray(std::span<const uint8_t> rgba);

} // namespace zv::detail
