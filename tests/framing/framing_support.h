#pragma once

// Helpers shared by the framing tests: LZO1X decompression, frame parsing
// and sample rasters.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zv::test {

/// lzo1x_decompress_safe of @p stream into at most @p capacity bytes, or
/// std::nullopt when it is not a valid stream or needs more room.
std::optional<ZVData> decompress(std::span<const uint8_t> stream, size_t capacity);

/// One parsed print-data frame.
struct ParsedFrame {
  uint16_t width = 0;
  uint16_t rows = 0;
  std::vector<uint8_t> stream;
};

/// The frames' streams decompressed and concatenated (std::nullopt if one
/// fails), with each frame's decompressed size appended to @p bandSizes.
std::optional<ZVData> unpackFrames(const std::vector<ParsedFrame> &frames,
                                   std::vector<size_t> *bandSizes = nullptr);

/// Splits concatenated print-data frames; fails the current test (and
/// returns what it parsed so far) on a bad marker or a truncated frame.
std::vector<ParsedFrame> parseFrames(std::span<const uint8_t> bytes);

uint32_t readLE32(std::span<const uint8_t> bytes, size_t at);

/// Deterministic pseudo-random bytes.
ZVData randomBytes(size_t size, uint32_t seed);

/// A photo-like 1-bit raster of @p bytesPerRow x @p rows bytes: a sample
/// photo (or, without one, a ramp) dithered, tiled to the size.
ZVData ditheredPhotoRaster(int32_t bytesPerRow, int32_t rows);

} // namespace zv::test
