// zvprint render: feeds a file of printer bytes (print-data frames, a TSPL
// label job, ...) to a virtual printer and saves the paper it prints.

#include "cli_support.h"
#include "commands.h"
#include "render_job.h"

#include <iostream>
#include <memory>

namespace zvprint {

namespace {

struct RenderOptions {
  std::string job;
  std::string output;
  uint32_t headWidth = 0;
};

constexpr size_t kErrorsShown = 20;

std::string count(uint64_t n, const std::string &noun) {
  return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

// Prints what the printer could print, and fails (after the paper is
// written) when it met anything it could not use: a job with errors is
// never reported as a success.
void render(const RenderOptions &options) {
  const ZVData bytes = readFile(options.job);
  const RenderedJob printed = renderJob(bytes, options.headWidth);
  const auto &stats = printed.statistics;
  for (size_t i = 0; i < printed.errors.size() && i < kErrorsShown; ++i) {
    std::cerr << "zvprint: render: " << printed.errors[i] << "\n";
  }
  if (stats.streamErrors > kErrorsShown) {
    std::cerr << "zvprint: render: ... and " << stats.streamErrors - kErrorsShown
              << " more stream errors\n";
  }
  const std::string counts = count(stats.printFrames, "frame") + ", " +
                             count(stats.bitmaps, "bitmap") + ", " + count(stats.labels, "label") +
                             " from " + count(bytes.size(), "byte") + ", " +
                             count(stats.streamErrors, "stream error");
  if (stats.rowsPrinted == 0) {
    fail("nothing printable in " + options.job + " (" + counts +
         "); the printer needs framed print data (convert --package) or a TSPL label job");
  }
  if (printed.png.empty()) fail("cannot encode the paper of " + options.job + " as a PNG");
  writeFile(options.output, printed.png);
  std::cout << "printed " << count(stats.rowsPrinted, "row") << ", " << printed.widthDots
            << " dots wide: " << counts << " -> " << options.output << "\n";
  if (stats.streamErrors > 0) {
    fail("the printer could not use all of " + options.job + " (" +
         count(stats.streamErrors, "stream error") + ", see above); the paper of what it " +
         "could print is in " + options.output);
  }
}

} // namespace

void addRenderCommand(CLI::App &app) {
  auto options = std::make_shared<RenderOptions>();
  auto *command = app.add_subcommand(
      "render", "Print a file of printer bytes on the virtual printer and save the paper as PNG");
  command->add_option("JOB", options->job, "printer bytes (convert --package, label output)")
      ->required();
  command->add_option("-o,--output", options->output, "paper PNG to write")->required();
  command->add_option("--head-width", options->headWidth,
                      "dots the print head covers; wider rows are clipped (0: no limit)");
  command->callback([options] { render(*options); });
}

} // namespace zvprint
