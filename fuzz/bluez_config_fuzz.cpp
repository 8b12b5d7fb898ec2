// bluetoothd's main.conf as anyone may have written it: the bearer count read
// from it is either unknown or one bluetoothd accepts, and only a Channels
// key in a [GATT] section can set it.
#include "backends/bluez/bearer_config.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 65536) return 0;
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  const auto channels = zv::detail::gattChannels(text);
  if (channels && (*channels < 1 || *channels > 5)) std::abort();
  if (channels && (text.find("[GATT]") == std::string_view::npos ||
                   text.find("Channels") == std::string_view::npos)) {
    std::abort();
  }
  return 0;
}
