#pragma once

// A search for the next byte of a kind that remembers what it found, so that
// trying every start position of a run of junk costs one pass, not one pass
// per position.

#include <algorithm>
#include <cstdint>
#include <span>

namespace zv::detail {

/// Finds the first byte at or after a stream offset for which Match holds.
/// Offsets are absolute stream positions; the stream's bytes never change
/// once seen, so a result stays true for every later start before it.
///
/// Threading: not thread-safe; one owner (a stream parser).
template <typename Match> class ForwardScan {
public:
  /// The offset of the first matching byte in [at, limit), or limit when
  /// there is none. @p window holds the stream bytes from offset @p base;
  /// limit must not pass its end. Each byte is examined once as long as
  /// the starts only move forward.
  uint64_t next(std::span<const uint8_t> window, uint64_t base, uint64_t at, uint64_t limit) {
    if (at < from_ || at > scannedTo_) {
      from_ = at; // a start outside what is known: begin afresh
      scannedTo_ = at;
      found_ = false;
    }
    if (!found_ && scannedTo_ < limit) {
      const auto begin = window.begin() + static_cast<std::ptrdiff_t>(scannedTo_ - base);
      const auto end = window.begin() + static_cast<std::ptrdiff_t>(limit - base);
      const auto hit = std::find_if(begin, end, Match{});
      scannedTo_ = base + static_cast<uint64_t>(hit - window.begin());
      found_ = hit != end;
    }
    return std::min(scannedTo_, limit);
  }

private:
  uint64_t from_ = 0;
  uint64_t scannedTo_ = 0; // first match when found_, else the end of the scan
  bool found_ = false;
};

} // namespace zv::detail
