#pragma once

// The paper that comes out of the virtual printer: rows of dots, top first.

#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zv::detail {

/// The printed paper, kept as packed bits in one buffer: a row costs its
/// bytes and nothing more, so memory stays proportional to the paper.
///
/// The roll is measured in dots of the paper's area: every row counts as
/// wide as the widest row printed, since that is what the paper (and its
/// picture) really takes. Rows that would take the area past the roll are
/// not printed.
///
/// Threading: not thread-safe; one owner (the virtual printer's engine).
class Paper {
public:
  /// @param maxBytes      the roll: area of the paper (widest row x rows)
  ///                      in packed bytes, i.e. dots / 8
  /// @param headWidthDots dots per row the head can print; 0 for no limit
  /// @param maxRows       rows the roll holds; 0 for no limit beyond maxBytes
  explicit Paper(uint64_t maxBytes = 64u << 20, uint32_t headWidthDots = 0, uint64_t maxRows = 0)
      : maxDots_(maxBytes > UINT64_MAX / 8 ? UINT64_MAX : maxBytes * 8),
        maxRows_(maxRows == 0 ? UINT64_MAX : maxRows), headWidthDots_(headWidthDots) {}

  enum class Append { Printed, Clipped, OutOfPaper };

  /// Appends @p rows rows of @p widthBytes packed bytes (leftmost dot in the
  /// most significant bit). @p zeroIsDot says which bit value burns a dot.
  /// Rows wider than the head are clipped; rows past the end of the roll are
  /// dropped, and so are rows that @p bits does not hold in full.
  Append appendRows(uint32_t widthBytes, uint32_t rows, std::span<const uint8_t> bits,
                    bool zeroIsDot);

  size_t rowCount() const { return static_cast<size_t>(rows_); }
  /// Widest row printed, in dots.
  uint32_t widthDots() const { return widthDots_; }
  /// One printed row, packed, bit value 1 = dot, as wide as it was printed.
  /// @p index must be below rowCount().
  std::span<const uint8_t> row(size_t index) const;
  /// The paper as black dots on white, as wide as the widest row; nullopt
  /// when nothing was printed or the paper exceeds ZVImage's caps.
  std::optional<ZVImage> image() const;
  /// The paper as a 1-bit gray PNG (black dots on white) as wide as the
  /// widest row, encoded without ever holding more than one row unpacked;
  /// empty when nothing was printed.
  ZVData png() const;

private:
  // Rows of one append share a width; a band records where they start.
  struct Band {
    uint64_t firstRow;
    uint64_t offset; // into bits_
    uint32_t widthBytes;
  };

  uint64_t maxDots_;
  uint64_t maxRows_;
  uint32_t headWidthDots_;
  uint64_t rows_ = 0;
  uint32_t widthDots_ = 0;
  std::vector<Band> bands_;
  ZVData bits_;
};

} // namespace zv::detail
