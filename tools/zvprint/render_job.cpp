#include "render_job.h"

namespace zvprint {

ZVVirtualPrinterConfig renderConfig(uint32_t headWidthDots) {
  ZVVirtualPrinterConfig config;
  config.headWidthDots = headWidthDots;
  config.paperCapacityBytes = kRenderPaperDots / 8;
  config.paperLengthRows = kRenderPaperRows;
  return config;
}

RenderedJob renderJob(std::span<const uint8_t> job, uint32_t headWidthDots) {
  ZVVirtualPrinter printer(renderConfig(headWidthDots));
  printer.receive(job);
  printer.endOfInput();
  RenderedJob result;
  result.statistics = printer.statistics();
  result.errors = printer.streamErrors();
  result.widthDots = printer.paperWidthDots();
  if (result.statistics.rowsPrinted > 0) result.png = printer.paperPNG();
  return result;
}

} // namespace zvprint
