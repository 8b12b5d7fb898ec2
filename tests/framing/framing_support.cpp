#include "framing/framing_support.h"

#include <lzo/lzo1x.h>

#include <algorithm>
#include <random>

namespace zv::test {

std::optional<ZVData> decompress(std::span<const uint8_t> stream, size_t capacity) {
  ZVData out(capacity);
  lzo_uint written = out.size();
  if (lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &written, nullptr) !=
      LZO_E_OK)
    return std::nullopt;
  out.resize(written);
  return out;
}

uint32_t readLE32(std::span<const uint8_t> bytes, size_t at) {
  return uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 |
         uint32_t{bytes[at + 3]} << 24;
}

ZVData randomBytes(size_t size, uint32_t seed) {
  std::mt19937 engine(seed);
  ZVData bytes(size);
  std::ranges::generate(bytes, [&] { return static_cast<uint8_t>(engine()); });
  return bytes;
}

ZVData noiseWithRuns(size_t size, uint32_t seed) {
  ZVData bytes = randomBytes(size, seed);
  for (size_t at = 0; at + 200 < size; at += 1000)
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), 200, static_cast<uint8_t>(seed));
  return bytes;
}

} // namespace zv::test
