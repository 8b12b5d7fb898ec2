#include "backends/sim/firmware_checksum.h"

#include <array>

namespace zv::detail {

namespace {

// Reflected CRC-32 table for polynomial 0xEDB88320.
constexpr std::array<uint32_t, 256> makeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t n = 0; n < 256; ++n) {
    uint32_t c = n;
    for (int k = 0; k < 8; ++k)
      c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}

constexpr auto kTable = makeTable();

} // namespace

uint32_t firmwareFrameChecksum(std::span<const uint8_t> bytes) {
  uint32_t c = 0;
  for (const uint8_t b : bytes)
    c = (c >> 8) ^ kTable[(c ^ b) & 0xFF];
  return ~c;
}

} // namespace zv::detail
