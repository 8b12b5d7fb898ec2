#pragma once

// What `zvprint render` does with a job, without the command line: print it
// on a virtual printer with the tool's paper limits and encode the paper.

#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zvprint {

/// The tool's paper: at most ZVImage::kMaxPixels dots of area (12.5 MB
/// packed, every row as wide as the widest) and ZVImage::kMaxSide rows, so
/// every paper it writes can be read back by zvprint itself. The packed
/// paper is all it keeps, so a job costs at most about 12.5 MB of paper plus
/// one frame (a frame cannot expand beyond 256 times its stream).
inline constexpr uint64_t kRenderPaperDots = ZVImage::kMaxPixels;
inline constexpr uint64_t kRenderPaperRows = ZVImage::kMaxSide;

/// The virtual printer the tool renders on; @p headWidthDots 0: no limit.
ZVVirtualPrinterConfig renderConfig(uint32_t headWidthDots);

struct RenderedJob {
  ZVData png; ///< the paper as a PNG; empty when nothing printed
  ZVVirtualPrinterStatistics statistics;
  std::vector<std::string> errors; ///< the printer's stream errors, capped
  uint32_t widthDots = 0;
};

/// Feeds @p job to a printer made by renderConfig() and ends the input.
///
/// Threading: any thread; no shared state.
RenderedJob renderJob(std::span<const uint8_t> job, uint32_t headWidthDots);

} // namespace zvprint
