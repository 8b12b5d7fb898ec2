#pragma once

// Every multi-byte integer in the printer's frames is little-endian,
// whatever the host's byte order.

#include <cstdint>

namespace zv::detail {

inline void storeLE16(uint8_t *at, uint16_t value) {
  at[0] = static_cast<uint8_t>(value);
  at[1] = static_cast<uint8_t>(value >> 8);
}

inline void storeLE32(uint8_t *at, uint32_t value) {
  for (int i = 0; i < 4; ++i) {
    at[i] = static_cast<uint8_t>(value >> (8 * i));
  }
}

} // namespace zv::detail
