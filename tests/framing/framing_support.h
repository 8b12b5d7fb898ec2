#pragma once

// Helpers shared by the framing tests: LZO1X decompression and sample bytes.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>

namespace zv::test {

/// lzo1x_decompress_safe of @p stream into at most @p capacity bytes, or
/// std::nullopt when it is not a valid stream or needs more room.
std::optional<ZVData> decompress(std::span<const uint8_t> stream, size_t capacity);

uint32_t readLE32(std::span<const uint8_t> bytes, size_t at);

/// Deterministic pseudo-random bytes.
ZVData randomBytes(size_t size, uint32_t seed);

/// Pseudo-random bytes with a run of 200 equal bytes every 1000, so that
/// LZO1X emits both literals and matches.
ZVData noiseWithRuns(size_t size, uint32_t seed);

} // namespace zv::test
