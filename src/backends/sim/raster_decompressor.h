#pragma once

// LZO1X decompression as the printer does it: the stream must expand to
// exactly the size its header announces, and never beyond a cap.

#include "framing/lzo_bound.h"

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace zv::detail {

/// Largest raster a single frame or bitmap may expand to (16 MiB).
inline constexpr uint64_t kMaxRasterBytes = 16u << 20;

/// Whether an LZO1X stream of @p streamLength bytes could expand to
/// @p expected bytes at all. The format's densest instruction, a run-length
/// extension byte, adds at most 255 bytes of output per input byte, so a
/// stream claiming more is refused before any buffer is allocated for it.
inline bool lzoCanExpandTo(uint64_t streamLength, uint64_t expected) {
  return expected <= streamLength * 256 + 256;
}

/// Decompresses @p stream, which must expand to exactly @p expected bytes
/// (at most kMaxRasterBytes). On failure returns std::nullopt and a reason.
std::optional<ZVData> decompressRaster(std::span<const uint8_t> stream, uint64_t expected,
                                       std::string &error);

} // namespace zv::detail
