#pragma once

// The two CRC-32 checksums of the library: zv_print_crc32 (public, standard)
// and the firmware-frame checksum below.

#include <cstdint>
#include <span>

namespace zv::detail {

/// The checksum that firmware frames carry: the reflected table CRC-32 with
/// the register starting at 0 (not at ~0) and the result complemented. It
/// equals zv_print_crc32(0xFFFFFFFF, bytes, n); the printer's boot loader
/// expects exactly this value, so it must not be "fixed" to the standard CRC.
uint32_t firmwareChecksum(std::span<const uint8_t> bytes);

} // namespace zv::detail
