// Feeds arbitrary bytes, cut into arbitrary pieces, to the virtual printer's
// stream parser and engine: nothing may crash, hang or allocate without
// bound, whatever the headers claim.
#include "backends/sim/printer_engine.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 256 * 1024) return 0;
  ZVVirtualPrinterConfig config;
  config.paperCapacityBytes = 4u << 20; // a short roll keeps each run quick
  ZVVirtualPrinterFaults faults;
  zv::detail::PrinterEngine engine(config);
  // The first byte chooses the piece sizes, so splits are explored too.
  const size_t step = size > 0 ? 1 + data[0] % 64 : 1;
  std::span<const uint8_t> rest(data, size);
  for (size_t i = 0; !rest.empty(); ++i) {
    const size_t n = std::min(rest.size(), i % 3 == 0 ? step : step * 7);
    engine.receive(rest.first(n), faults);
    rest = rest.subspan(n);
  }
  engine.endOfInput(faults);
  (void)engine.paper().image();
  return 0;
}
