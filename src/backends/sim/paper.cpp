#include "backends/sim/paper.h"

#include <algorithm>

namespace zv::detail {

Paper::Append Paper::appendRows(uint32_t widthBytes, uint32_t rows, std::span<const uint8_t> bits,
                                bool zeroIsDot) {
  uint32_t keptBytes = widthBytes;
  Append result = Append::Printed;
  if (headWidthDots_ != 0 && uint64_t{widthBytes} * 8 > headWidthDots_) {
    keptBytes = (headWidthDots_ + 7) / 8;
    result = Append::Clipped;
  }
  const uint32_t keptDots =
      headWidthDots_ != 0 ? std::min(keptBytes * 8, headWidthDots_) : keptBytes * 8;
  const uint8_t lastMask = static_cast<uint8_t>(0xFF << ((8 - keptDots % 8) % 8));
  for (uint32_t r = 0; r < rows; ++r) {
    if (usedBytes_ + keptBytes > maxBytes_) return Append::OutOfPaper;
    const size_t start = size_t{r} * widthBytes;
    if (start + keptBytes > bits.size()) break;
    ZVData row(bits.begin() + static_cast<std::ptrdiff_t>(start),
               bits.begin() + static_cast<std::ptrdiff_t>(start + keptBytes));
    if (zeroIsDot) {
      for (auto &b : row)
        b = static_cast<uint8_t>(~b);
    }
    if (!row.empty()) row.back() &= lastMask; // dots beyond the head never burn
    usedBytes_ += keptBytes;
    rows_.push_back(std::move(row));
    widthDots_ = std::max(widthDots_, keptDots);
  }
  return result;
}

std::optional<ZVImage> Paper::image() const {
  if (rows_.empty() || widthDots_ == 0) return std::nullopt;
  if (uint64_t{widthDots_} * rows_.size() > ZVImage::kMaxPixels) return std::nullopt;
  ZVData rgba(size_t{widthDots_} * rows_.size() * 4, 0xFF);
  for (size_t y = 0; y < rows_.size(); ++y) {
    const ZVData &row = rows_[y];
    uint8_t *out = rgba.data() + y * widthDots_ * 4;
    for (size_t x = 0; x < row.size() * 8 && x < widthDots_; ++x) {
      if ((row[x / 8] >> (7 - x % 8)) & 1) {
        out[x * 4] = out[x * 4 + 1] = out[x * 4 + 2] = 0;
      }
    }
  }
  return ZVImage::fromRGBA(widthDots_, static_cast<uint32_t>(rows_.size()), rgba);
}

} // namespace zv::detail
