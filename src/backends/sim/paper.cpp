#include "backends/sim/paper.h"

#include <algorithm>

namespace zv::detail {

Paper::Append Paper::appendRows(uint32_t widthBytes, uint32_t rows, std::span<const uint8_t> bits,
                                bool zeroIsDot) {
  if (widthBytes == 0) return Append::Printed;
  uint32_t keptBytes = widthBytes;
  Append result = Append::Printed;
  if (headWidthDots_ != 0 && uint64_t{widthBytes} * 8 > headWidthDots_) {
    keptBytes = (headWidthDots_ + 7) / 8;
    result = Append::Clipped;
  }
  // Frames and bitmaps carry 16-bit widths, so 8 x keptBytes fits 32 bits.
  const uint32_t keptDots =
      headWidthDots_ != 0 ? std::min(keptBytes * 8, headWidthDots_) : keptBytes * 8;
  const uint64_t held = std::min<uint64_t>(rows, bits.size() / widthBytes);
  // The whole paper takes the widest row, so a wider band costs the rows
  // already printed too; check before copying anything.
  const uint64_t width = std::max(widthDots_, keptDots);
  const uint64_t rollRows = std::min(maxDots_ / width, maxRows_);
  const uint64_t room = rollRows > rows_ ? rollRows - rows_ : 0;
  const uint64_t printed = std::min(held, room);
  if (printed < held) result = Append::OutOfPaper;
  if (printed == 0) return result;

  const uint8_t lastMask = static_cast<uint8_t>(0xFF << ((8 - keptDots % 8) % 8));
  const uint64_t offset = bits_.size();
  bits_.resize(offset + printed * keptBytes);
  uint8_t *out = bits_.data() + offset;
  for (uint64_t r = 0; r < printed; ++r, out += keptBytes) {
    const uint8_t *in = bits.data() + r * widthBytes;
    if (zeroIsDot) {
      std::transform(in, in + keptBytes, out, [](uint8_t b) { return static_cast<uint8_t>(~b); });
    } else {
      std::copy_n(in, keptBytes, out);
    }
    out[keptBytes - 1] &= lastMask; // dots beyond the head never burn
  }
  bands_.push_back({rows_, offset, keptBytes});
  rows_ += printed;
  widthDots_ = static_cast<uint32_t>(width);
  return result;
}

std::span<const uint8_t> Paper::row(size_t index) const {
  const auto band = std::upper_bound(bands_.begin(), bands_.end(), uint64_t{index},
                                     [](uint64_t row, const Band &b) { return row < b.firstRow; });
  const Band &b = *(band - 1);
  return {bits_.data() + b.offset + (index - b.firstRow) * b.widthBytes, b.widthBytes};
}

std::optional<ZVImage> Paper::image() const {
  if (rows_ == 0 || widthDots_ == 0) return std::nullopt;
  if (widthDots_ > ZVImage::kMaxSide || rows_ > ZVImage::kMaxSide ||
      uint64_t{widthDots_} * rows_ > ZVImage::kMaxPixels)
    return std::nullopt;
  ZVData rgba(size_t{widthDots_} * rows_ * 4, 0xFF);
  for (size_t y = 0; y < rows_; ++y) {
    const auto dots = row(y);
    uint8_t *out = rgba.data() + y * widthDots_ * 4;
    for (size_t x = 0; x < dots.size() * 8 && x < widthDots_; ++x) {
      if ((dots[x / 8] >> (7 - x % 8)) & 1) {
        out[x * 4] = out[x * 4 + 1] = out[x * 4 + 2] = 0;
      }
    }
  }
  return ZVImage::fromRGBA(widthDots_, static_cast<uint32_t>(rows_), std::move(rgba));
}

} // namespace zv::detail
