#pragma once

// Builders of the bytes a host sends to a printer, for tests: print-data
// frames compressed with liblzo2 directly, TSPL bitmaps and firmware frames.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <span>
#include <string>

namespace zvtest {

/// LZO1X-1 stream of @p raw.
ZVData lzoCompress(std::span<const uint8_t> raw);
/// One print-data frame: 1D 76 30 30, width, rows, length, LZO stream.
ZVData printFrame(uint16_t widthBytes, uint16_t rows, std::span<const uint8_t> raw);
/// A deterministic raster of widthBytes x rows bytes with structure.
ZVData patternRaster(uint32_t widthBytes, uint32_t rows, uint32_t seed = 1);
/// BITMAP x,y,wb,h,mode, + payload (raw, or length + LZO when compressed).
ZVData tsplBitmap(int x, int y, uint32_t widthBytes, uint32_t rows, int mode,
                  std::span<const uint8_t> raw, bool compressed);
/// Firmware frame for @p chunk at @p offset, with a correct checksum unless
/// @p corrupt.
ZVData firmwareFrame(uint32_t offset, std::span<const uint8_t> chunk, bool corrupt = false);
ZVData bytes(const std::string &text);
void append(ZVData &to, std::span<const uint8_t> more);

} // namespace zvtest
