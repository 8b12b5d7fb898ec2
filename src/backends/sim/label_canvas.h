#pragma once

// The label the virtual printer composes from TSPL commands before PRINT
// feeds it onto the paper.

#include "backends/sim/paper.h"
#include "backends/sim/printer_events.h"

#include <cstdint>
#include <vector>

namespace zv::detail {

class LabelCanvas {
public:
  /// Largest label side, in dots (about 1 m at 8 dots per millimetre).
  static constexpr uint32_t kMaxSide = 8192;

  /// Fixes the label size (SIZE) and clears it. A label without SIZE grows
  /// to hold what is drawn.
  void setSize(uint32_t widthDots, uint32_t heightDots);
  /// CLS: clears the image buffer.
  void clear();
  /// REFERENCE: the origin that later coordinates are relative to.
  void setReference(int64_t x, int64_t y);
  /// Draws a BITMAP (bit value 0 = dot) with TSPL's modes: 0 overwrite,
  /// 1 OR, 2 XOR; other modes draw as overwrite. Parts outside the label
  /// are clipped. Returns false when something was clipped.
  bool draw(const TsplBitmap &bitmap);
  /// PRINT: feeds @p copies copies of the label onto @p paper.
  Paper::Append printTo(Paper &paper, uint32_t copies) const;

  uint32_t widthDots() const { return width_; }
  uint32_t heightDots() const { return height_; }
  bool empty() const { return width_ == 0 || height_ == 0; }

private:
  void grow(uint32_t width, uint32_t height);
  uint32_t stride() const { return (width_ + 7) / 8; }

  bool fixedSize_ = false;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  int64_t referenceX_ = 0;
  int64_t referenceY_ = 0;
  std::vector<uint8_t> dots_; // packed rows, bit value 1 = dot
};

} // namespace zv::detail
