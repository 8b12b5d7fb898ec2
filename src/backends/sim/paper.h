#pragma once

// The paper that comes out of the virtual printer: rows of dots, top first.

#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zv::detail {

class Paper {
public:
  /// @param maxBytes      the roll: total packed bytes the paper can hold
  /// @param headWidthDots dots per row the head can print; 0 for no limit
  explicit Paper(uint64_t maxBytes = 64u << 20, uint32_t headWidthDots = 0)
      : maxBytes_(maxBytes), headWidthDots_(headWidthDots) {}

  enum class Append { Printed, Clipped, OutOfPaper };

  /// Appends @p rows rows of @p widthBytes packed bytes (leftmost dot in the
  /// most significant bit). @p zeroIsDot says which bit value burns a dot.
  /// Rows wider than the head are clipped; rows past the end of the roll are
  /// dropped.
  Append appendRows(uint32_t widthBytes, uint32_t rows, std::span<const uint8_t> bits,
                    bool zeroIsDot);

  size_t rowCount() const { return rows_.size(); }
  /// Widest row printed, in dots.
  uint32_t widthDots() const { return widthDots_; }
  /// One printed row, packed, bit value 1 = dot.
  std::span<const uint8_t> row(size_t index) const { return rows_[index]; }
  /// The paper as black dots on white, as wide as the widest row; nullopt
  /// when nothing was printed or the paper exceeds ZVImage's caps.
  std::optional<ZVImage> image() const;

private:
  uint64_t maxBytes_;
  uint32_t headWidthDots_;
  uint64_t usedBytes_ = 0;
  uint32_t widthDots_ = 0;
  std::vector<ZVData> rows_;
};

} // namespace zv::detail
