#include "framing/print_frames.h"

#include "framing/little_endian.h"
#include "framing/lzo_bound.h"

#include <zvprinter/ZVPrinterC.h>

#include <algorithm>
#include <array>

namespace zv::detail {

namespace {

constexpr std::array<uint8_t, 4> kMarker{0x1D, 0x76, 0x30, 0x30};

} // namespace

int32_t printFrameRows(int32_t bitmapWidth, int32_t height) {
  if (height < 17) {
    return height;
  }
  return bitmapWidth >= 49 ? 16 : 30;
}

PrintFrameCutter::PrintFrameCutter(std::span<const uint8_t> raster, int32_t bitmapWidth,
                                   int32_t height)
    : raster_(raster), height_(height), rowsPerFrame_(printFrameRows(bitmapWidth, height)) {
  // A band of no bytes would never advance through the raster, and two
  // negative sides would make a positive band of nonsense rows.
  if (bitmapWidth < 1 || height < 1 || raster_.empty()) {
    return;
  }
  // In 64 bits: a wide raster's band size overflows 32.
  const int64_t band = int64_t{bitmapWidth} * rowsPerFrame_;
  bandBytes_ = static_cast<size_t>(std::min<int64_t>(band, static_cast<int64_t>(raster_.size())));
  frame_.resize(kPrintFrameHeaderSize + lzoWorstCase(bandBytes_));
  std::copy(kMarker.begin(), kMarker.end(), frame_.begin());
  storeLE16(frame_.data() + 4, static_cast<uint16_t>(bitmapWidth));
}

size_t PrintFrameCutter::frameCount() const {
  return bandBytes_ == 0 ? 0 : (raster_.size() + bandBytes_ - 1) / bandBytes_;
}

std::span<const uint8_t> PrintFrameCutter::next() {
  if (bandBytes_ == 0 || offset_ >= raster_.size()) {
    return {};
  }
  const size_t bytes = std::min(raster_.size() - offset_, bandBytes_);
  const int32_t rows = std::min(rowsPerFrame_, height_ - int32_t{firstRow_});
  uint8_t *stream = frame_.data() + kPrintFrameHeaderSize;
  const size_t streamLength =
      zv_lzo_compress(raster_.data() + offset_, static_cast<uint32_t>(bytes), stream);
  storeLE16(frame_.data() + 6, static_cast<uint16_t>(rows));
  storeLE32(frame_.data() + 8, static_cast<uint32_t>(streamLength));
  offset_ += bytes;
  firstRow_ = static_cast<uint16_t>(firstRow_ + rows);
  return {frame_.data(), kPrintFrameHeaderSize + streamLength};
}

} // namespace zv::detail
