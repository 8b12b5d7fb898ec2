#include "backends/sim/label_canvas.h"

#include <algorithm>

namespace zv::detail {

void LabelCanvas::setSize(uint32_t widthDots, uint32_t heightDots) {
  fixedSize_ = true;
  width_ = std::min(widthDots, kMaxSide);
  height_ = std::min(heightDots, kMaxSide);
  dots_.assign(size_t{stride()} * height_, 0);
}

void LabelCanvas::clear() {
  std::fill(dots_.begin(), dots_.end(), 0);
}

void LabelCanvas::setReference(int64_t x, int64_t y) {
  referenceX_ = x;
  referenceY_ = y;
}

void LabelCanvas::grow(uint32_t width, uint32_t height) {
  width = std::min(std::max(width, width_), kMaxSide);
  height = std::min(std::max(height, height_), kMaxSide);
  if (width == width_ && height == height_) return;
  const uint32_t oldStride = stride();
  std::vector<uint8_t> grown(size_t{(width + 7) / 8} * height, 0);
  for (uint32_t y = 0; y < height_; ++y) {
    std::copy_n(dots_.begin() + static_cast<std::ptrdiff_t>(size_t{y} * oldStride), oldStride,
                grown.begin() + static_cast<std::ptrdiff_t>(size_t{y} * ((width + 7) / 8)));
  }
  width_ = width;
  height_ = height;
  dots_ = std::move(grown);
}

namespace {

// A whole row that starts on a byte boundary: eight dots at a time.
void drawAlignedRow(uint8_t *target, const uint8_t *source, uint32_t bytes, int64_t mode) {
  for (uint32_t i = 0; i < bytes; ++i) {
    const auto dots = static_cast<uint8_t>(~source[i]); // bit value 0 = dot
    if (mode == 1) {
      target[i] |= dots;
    } else if (mode == 2) {
      target[i] ^= dots;
    } else {
      target[i] = dots;
    }
  }
}

} // namespace

bool LabelCanvas::draw(const TsplBitmap &bitmap) {
  const int64_t left = referenceX_ + bitmap.x;
  const int64_t top = referenceY_ + bitmap.y;
  const int64_t widthDots = int64_t{bitmap.widthBytes} * 8;
  if (!fixedSize_ && left + widthDots > 0 && top + bitmap.rows > 0) {
    grow(static_cast<uint32_t>(std::clamp<int64_t>(left + widthDots, 0, kMaxSide)),
         static_cast<uint32_t>(std::clamp<int64_t>(top + bitmap.rows, 0, kMaxSide)));
  }
  bool clipped = false;
  const uint32_t rows =
      bitmap.widthBytes == 0
          ? 0
          : std::min<uint32_t>(bitmap.rows,
                               static_cast<uint32_t>(bitmap.bits.size() / bitmap.widthBytes));
  for (uint32_t r = 0; r < rows; ++r) {
    const int64_t y = top + r;
    if (y < 0 || y >= height_) {
      clipped = true;
      continue;
    }
    uint8_t *row = dots_.data() + static_cast<size_t>(y) * stride();
    const uint8_t *source = bitmap.bits.data() + size_t{r} * bitmap.widthBytes;
    if (left >= 0 && left % 8 == 0 && left + widthDots <= width_) {
      drawAlignedRow(row + left / 8, source, bitmap.widthBytes, bitmap.mode);
      continue;
    }
    for (int64_t c = 0; c < widthDots; ++c) {
      const int64_t x = left + c;
      if (x < 0 || x >= width_) {
        clipped = true;
        continue;
      }
      const bool dot = ((source[c / 8] >> (7 - c % 8)) & 1) == 0;
      const uint8_t mask = static_cast<uint8_t>(0x80 >> (x % 8));
      uint8_t &target = row[x / 8];
      if (bitmap.mode == 1) {
        if (dot) target |= mask;
      } else if (bitmap.mode == 2) {
        if (dot) target ^= mask;
      } else {
        target = static_cast<uint8_t>(dot ? (target | mask) : (target & ~mask));
      }
    }
  }
  return !clipped;
}

Paper::Append LabelCanvas::printTo(Paper &paper, uint32_t copies) const {
  Paper::Append result = Paper::Append::Printed;
  for (uint32_t i = 0; i < copies && !empty(); ++i) {
    result = paper.appendRows(stride(), height_, dots_, false);
    if (result == Paper::Append::OutOfPaper) break;
  }
  return result;
}

} // namespace zv::detail
