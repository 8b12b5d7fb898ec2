#pragma once

// Hand-made PNG and JPEG files for the decoder tests: exact samples, forged
// headers and cut-short data that no ordinary encoder writes.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <span>

namespace zvtest {

/// A PNG whose IHDR says @p width x @p height, @p bitDepth, @p colorType and
/// whose IDAT holds @p filteredRows (filter bytes included) in stored deflate
/// blocks; the header need not match the data.
ZVData pngFile(uint32_t width, uint32_t height, uint8_t bitDepth, uint8_t colorType,
               std::span<const uint8_t> filteredRows);

struct JpegOptions {
  uint32_t width = 64;
  uint32_t height = 64;
  int components = 3; ///< 1 gray, 3 colour
  bool progressive = false;
  bool arithmetic = false;
};

/// A JPEG of a noisy picture, encoded by libjpeg with @p options.
ZVData jpegFile(const JpegOptions &options);

/// Byte offset just past the first SOS segment's header: where scan data begins.
size_t jpegScanStart(std::span<const uint8_t> jpeg);

/// @p jpeg with its SOF's height and width replaced.
ZVData withJpegSize(ZVData jpeg, uint16_t width, uint16_t height);

} // namespace zvtest
