#include "backends/sim/raster_decompressor.h"

#include <lzo/lzo1x.h>

namespace zv::detail {

namespace {

bool lzoReady() {
  static const bool ready = lzo_init() == LZO_E_OK;
  return ready;
}

} // namespace

std::optional<ZVData> decompressRaster(std::span<const uint8_t> stream, uint64_t expected,
                                       std::string &error) {
  if (expected > kMaxRasterBytes) {
    error = "raster of " + std::to_string(expected) + " bytes exceeds the printer's buffer";
    return std::nullopt;
  }
  if (!lzoCanExpandTo(stream.size(), expected)) {
    error = "a " + std::to_string(stream.size()) + "-byte LZO stream cannot expand to " +
            std::to_string(expected) + " bytes";
    return std::nullopt;
  }
  if (!lzoReady()) {
    error = "LZO library failed to initialise";
    return std::nullopt;
  }
  ZVData out(expected);
  lzo_uint length = expected;
  const int result =
      lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &length, nullptr);
  if (result == LZO_E_OUTPUT_OVERRUN) {
    error = "LZO stream expands beyond " + std::to_string(expected) + " bytes";
    return std::nullopt;
  }
  if (result != LZO_E_OK) {
    error = "corrupt LZO stream (error " + std::to_string(result) + ")";
    return std::nullopt;
  }
  if (length != expected) {
    error = "LZO stream expands to " + std::to_string(length) + " bytes, expected " +
            std::to_string(expected);
    return std::nullopt;
  }
  return out;
}

} // namespace zv::detail
