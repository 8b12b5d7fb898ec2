#pragma once

// Builders of the bytes a host sends to a printer, for tests: print-data
// frames compressed with liblzo2 directly, TSPL bitmaps and firmware frames.

#include <zvprinter/ZVPrinterC.h>
#include <zvprinter/ZVTypes.h>

#include <lzo/lzo1x.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zvtest {

inline ZVData bytes(const std::string &text) {
  return ZVData(text.begin(), text.end());
}

inline void append(ZVData &to, std::span<const uint8_t> more) {
  to.insert(to.end(), more.begin(), more.end());
}

inline void putLE(ZVData &out, uint64_t value, int count) {
  for (int i = 0; i < count; ++i)
    out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

/// LZO1X-1 stream of @p raw.
inline ZVData lzoCompress(std::span<const uint8_t> raw) {
  static const bool ready = lzo_init() == LZO_E_OK;
  (void)ready;
  std::vector<uint8_t> work(LZO1X_1_MEM_COMPRESS);
  ZVData out(raw.size() + raw.size() / 16 + 64 + 3);
  lzo_uint length = 0;
  lzo1x_1_compress(raw.data(), raw.size(), out.data(), &length, work.data());
  out.resize(length);
  return out;
}

/// One print-data frame: 1D 76 30 30, width, rows, length, LZO stream.
inline ZVData printFrame(uint16_t widthBytes, uint16_t rows, std::span<const uint8_t> raw) {
  const ZVData stream = lzoCompress(raw);
  ZVData frame{0x1D, 0x76, 0x30, 0x30};
  putLE(frame, widthBytes, 2);
  putLE(frame, rows, 2);
  putLE(frame, stream.size(), 4);
  append(frame, stream);
  return frame;
}

/// A deterministic raster: runs of white (0xFF, no dot) and noise, so LZO
/// finds matches.
inline ZVData patternRaster(uint32_t widthBytes, uint32_t rows, uint32_t seed = 1) {
  ZVData raster(size_t{widthBytes} * rows);
  uint32_t state = seed * 2654435761u + 1;
  for (size_t i = 0; i < raster.size(); ++i) {
    state = state * 1664525u + 1013904223u;
    raster[i] = (i / widthBytes) % 7 < 3 ? 0xFF : static_cast<uint8_t>(state >> 24);
  }
  return raster;
}

/// BITMAP x,y,wb,h,mode, + payload (raw, or length + LZO when compressed).
inline ZVData tsplBitmap(int x, int y, uint32_t widthBytes, uint32_t rows, int mode,
                         std::span<const uint8_t> raw, bool compressed = false) {
  ZVData out = bytes("BITMAP " + std::to_string(x) + "," + std::to_string(y) + "," +
                     std::to_string(widthBytes) + "," + std::to_string(rows) + "," +
                     std::to_string(mode) + ",");
  const ZVData stream = compressed ? lzoCompress(raw) : ZVData(raw.begin(), raw.end());
  if (compressed) putLE(out, stream.size(), 4);
  append(out, stream);
  return out;
}

/// Firmware frame for @p chunk at @p offset, with a correct checksum (the
/// CRC-32 variant whose register starts at 0) unless @p corrupt.
inline ZVData firmwareFrame(uint32_t offset, std::span<const uint8_t> chunk, bool corrupt = false) {
  ZVData frame = bytes("\x1B\x1C& V1 do \"ota\"\r\n");
  putLE(frame, offset, 4);
  putLE(frame, chunk.size(), 4);
  const uint32_t checksum =
      zv_print_crc32(0xFFFFFFFF, chunk.data(), static_cast<uint32_t>(chunk.size()));
  putLE(frame, checksum ^ (corrupt ? 1u : 0u), 4);
  append(frame, chunk);
  return frame;
}

} // namespace zvtest
