#include "encoded_images_support.h"

#include <zvprinter/ZVPrinterC.h>

#include <cstdio>
#include <jpeglib.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace zvtest {

namespace {

void appendBig32(ZVData &out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8)
    out.push_back(static_cast<uint8_t>(value >> shift));
}

void appendChunk(ZVData &out, std::string_view type, std::span<const uint8_t> data) {
  appendBig32(out, static_cast<uint32_t>(data.size()));
  const size_t start = out.size();
  out.insert(out.end(), type.begin(), type.end());
  out.insert(out.end(), data.begin(), data.end());
  // The library's CRC-32 is the standard one PNG uses (its check values are
  // pinned by the checksum tests).
  appendBig32(out,
              zv_print_crc32(0, out.data() + start, static_cast<uint32_t>(out.size() - start)));
}

// A zlib stream of stored (uncompressed) deflate blocks.
ZVData storedZlib(std::span<const uint8_t> data) {
  ZVData out{0x78, 0x01};
  size_t at = 0;
  do {
    const size_t length = std::min<size_t>(data.size() - at, 65535);
    const bool last = at + length == data.size();
    out.push_back(last ? 1 : 0);
    for (const uint16_t field : {uint16_t(length), uint16_t(~length)}) {
      out.push_back(static_cast<uint8_t>(field));
      out.push_back(static_cast<uint8_t>(field >> 8));
    }
    out.insert(out.end(), data.begin() + static_cast<long>(at),
               data.begin() + static_cast<long>(at + length));
    at += length;
  } while (at < data.size());
  uint32_t a = 1, b = 0;
  for (const uint8_t byte : data) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  appendBig32(out, (b << 16) | a);
  return out;
}

} // namespace

ZVData pngFile(uint32_t width, uint32_t height, uint8_t bitDepth, uint8_t colorType,
               std::span<const uint8_t> filteredRows) {
  ZVData out{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  ZVData header;
  appendBig32(header, width);
  appendBig32(header, height);
  header.insert(header.end(), {bitDepth, colorType, 0, 0, 0});
  appendChunk(out, "IHDR", header);
  appendChunk(out, "IDAT", storedZlib(filteredRows));
  appendChunk(out, "IEND", {});
  return out;
}

ZVData jpegFile(const JpegOptions &options) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char *buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &buffer, &size);
  info.image_width = options.width;
  info.image_height = options.height;
  info.input_components = options.components;
  info.in_color_space = options.components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 90, TRUE);
  if (options.progressive) jpeg_simple_progression(&info);
  info.arith_code = options.arithmetic ? TRUE : FALSE;
  jpeg_start_compress(&info, TRUE);
  std::vector<uint8_t> row(size_t{options.width} * options.components);
  uint32_t seed = 12345;
  while (info.next_scanline < info.image_height) {
    for (auto &sample : row) {
      seed = seed * 1103515245u + 12345u;
      sample = static_cast<uint8_t>(seed >> 24);
    }
    JSAMPROW rows[1] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  ZVData out(buffer, buffer + size);
  std::free(buffer);
  return out;
}

size_t jpegScanStart(std::span<const uint8_t> jpeg) {
  for (size_t at = 2; at + 4 <= jpeg.size();) {
    const size_t length = size_t{jpeg[at + 2]} << 8 | jpeg[at + 3];
    if (jpeg[at + 1] == 0xDA) return at + 2 + length;
    at += 2 + length;
  }
  return jpeg.size();
}

ZVData withJpegSize(ZVData jpeg, uint16_t width, uint16_t height) {
  for (size_t at = 2; at + 9 <= jpeg.size();) {
    const uint8_t marker = jpeg[at + 1];
    if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
      jpeg[at + 5] = static_cast<uint8_t>(height >> 8);
      jpeg[at + 6] = static_cast<uint8_t>(height);
      jpeg[at + 7] = static_cast<uint8_t>(width >> 8);
      jpeg[at + 8] = static_cast<uint8_t>(width);
      return jpeg;
    }
    at += 2 + (size_t{jpeg[at + 2]} << 8 | jpeg[at + 3]);
  }
  return jpeg;
}

} // namespace zvtest
