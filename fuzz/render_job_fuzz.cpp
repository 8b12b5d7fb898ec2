// Whole `zvprint render` jobs with the tool's real paper limits: any bytes
// are printed on the virtual printer and the paper encoded as a PNG. Nothing
// may crash, hang or allocate beyond the paper's bound.
#include "render_job.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 256 * 1024) return 0;
  // The first byte sometimes narrows the head, so clipping is explored too.
  const uint32_t headWidth = size > 0 && data[0] < 32 ? 8u * data[0] : 0;
  const auto printed = zvprint::renderJob(std::span<const uint8_t>(data, size), headWidth);
  // A paper that printed rows is always encoded.
  if (printed.statistics.rowsPrinted > 0 && printed.png.empty()) __builtin_trap();
  if (printed.statistics.rowsPrinted > zvprint::kRenderPaperRows) __builtin_trap();
  return 0;
}
