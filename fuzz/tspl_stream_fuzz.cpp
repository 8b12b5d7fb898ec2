// Feeds arbitrary bytes, cut into arbitrary pieces, to the virtual printer's
// stream parser, which reads TSPL label jobs (text lines and BITMAP payloads)
// among the other commands: nothing may crash or hang, and junk must cost
// time in proportion to its length (libFuzzer's -timeout catches a parser
// that rescans).
#include "backends/sim/printer_stream_parser.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 1024 * 1024) return 0;
  zv::detail::PrinterStreamParser parser;
  std::vector<zv::detail::PrinterEvent> events;
  // The first byte chooses the piece sizes, so splits are explored too.
  const size_t step = size > 0 ? 1 + data[0] % 97 : 1;
  std::span<const uint8_t> rest(data, size);
  for (size_t i = 0; !rest.empty(); ++i) {
    const size_t n = std::min(rest.size(), i % 2 == 0 ? step : step * 13);
    parser.feed(rest.first(n), events);
    rest = rest.subspan(n);
    events.clear(); // rasters are dropped as a printer prints them
  }
  parser.finish(events);
  if (parser.bytesSeen() != size) __builtin_trap(); // every byte is accounted for
  return 0;
}
