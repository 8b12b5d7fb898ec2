#include "backends/printer_bytes_support.h"

#include <zvprinter/ZVPrinterC.h>

#include <lzo/lzo1x.h>

#include <vector>

namespace zvtest {

namespace {

void putLE(ZVData &out, uint64_t value, int count) {
  for (int i = 0; i < count; ++i)
    out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

} // namespace

ZVData bytes(const std::string &text) {
  return ZVData(text.begin(), text.end());
}

void append(ZVData &to, std::span<const uint8_t> more) {
  to.insert(to.end(), more.begin(), more.end());
}

ZVData lzoCompress(std::span<const uint8_t> raw) {
  static const bool ready = lzo_init() == LZO_E_OK;
  (void)ready;
  std::vector<uint8_t> work(LZO1X_1_MEM_COMPRESS);
  ZVData out(raw.size() + raw.size() / 16 + 64 + 3);
  lzo_uint length = 0;
  lzo1x_1_compress(raw.data(), raw.size(), out.data(), &length, work.data());
  out.resize(length);
  return out;
}

ZVData printFrame(uint16_t widthBytes, uint16_t rows, std::span<const uint8_t> raw) {
  const ZVData stream = lzoCompress(raw);
  ZVData frame{0x1D, 0x76, 0x30, 0x30};
  putLE(frame, widthBytes, 2);
  putLE(frame, rows, 2);
  putLE(frame, stream.size(), 4);
  append(frame, stream);
  return frame;
}

ZVData patternRaster(uint32_t widthBytes, uint32_t rows, uint32_t seed) {
  ZVData raster(size_t{widthBytes} * rows);
  uint32_t state = seed * 2654435761u + 1;
  for (size_t i = 0; i < raster.size(); ++i) {
    state = state * 1664525u + 1013904223u;
    // Runs of white (0xFF: no dot) with some noise, so LZO finds matches.
    raster[i] = (i / widthBytes) % 7 < 3 ? 0xFF : static_cast<uint8_t>(state >> 24);
  }
  return raster;
}

ZVData tsplBitmap(int x, int y, uint32_t widthBytes, uint32_t rows, int mode,
                  std::span<const uint8_t> raw, bool compressed) {
  ZVData out = bytes("BITMAP " + std::to_string(x) + "," + std::to_string(y) + "," +
                     std::to_string(widthBytes) + "," + std::to_string(rows) + "," +
                     std::to_string(mode) + ",");
  if (compressed) {
    const ZVData stream = lzoCompress(raw);
    putLE(out, stream.size(), 4);
    append(out, stream);
  } else {
    append(out, raw);
  }
  return out;
}

ZVData firmwareFrame(uint32_t offset, std::span<const uint8_t> chunk, bool corrupt) {
  ZVData frame{0x1B, 0x1C, 0x26};
  append(frame, bytes(" V1 do \"ota\"\r\n"));
  putLE(frame, offset, 4);
  putLE(frame, chunk.size(), 4);
  // Firmware frames carry the CRC-32 variant whose register starts at 0.
  const uint32_t checksum =
      zv_print_crc32(0xFFFFFFFF, chunk.data(), static_cast<uint32_t>(chunk.size()));
  putLE(frame, checksum ^ (corrupt ? 1u : 0u), 4);
  append(frame, chunk);
  return frame;
}

} // namespace zvtest
