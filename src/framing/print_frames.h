#pragma once

// Print-data frames: one band of raster rows compressed with LZO1X behind a
// 12-byte header, all fields little-endian:
//   1D 76 30 30   the GS v 0 raster command with mode byte '0'
//   u16           bytes per row (low 16 bits of the raster's row width)
//   u16           rows in this band
//   u32           length of the LZO1X stream that follows
// The band boundaries in bytes follow the raster's total length, the row
// counts follow its row count; callers pass matching values.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zv::detail {

inline constexpr size_t kPrintFrameHeaderSize = 12;

/// Rows per band: a raster of fewer than 17 rows is one band; otherwise 16
/// rows when a row has 49 bytes or more, 30 rows when it has 48 or fewer.
int32_t printFrameRows(int32_t bitmapWidth, int32_t height);

/// Cuts a raster into print-data frames, compressing one band per next().
class PrintFrameCutter {
public:
  /// @p raster is the whole raster (at most INT32_MAX bytes); its size is the
  /// total length. A width or a height below 1 yields no frames at all.
  PrintFrameCutter(std::span<const uint8_t> raster, int32_t bitmapWidth, int32_t height);

  /// The number of frames next() returns in all.
  size_t frameCount() const;

  /// The next whole frame (header and stream), or an empty span after the
  /// last one. The span points into a buffer that the next call reuses.
  std::span<const uint8_t> next();

private:
  std::span<const uint8_t> raster_;
  int32_t height_;
  int32_t rowsPerFrame_;
  size_t bandBytes_ = 0; // 0: no frames
  size_t offset_ = 0;
  uint16_t firstRow_ = 0;
  std::vector<uint8_t> frame_; // header + worst-case stream of the largest band
};

} // namespace zv::detail
