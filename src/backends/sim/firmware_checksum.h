#pragma once

// The checksum a firmware frame carries: the table-driven CRC-32 step with
// the register starting at 0 and the result complemented.

#include <cstdint>
#include <span>

namespace zv::detail {

uint32_t firmwareFrameChecksum(std::span<const uint8_t> bytes);

} // namespace zv::detail
