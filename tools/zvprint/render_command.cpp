// zvprint render: feeds a file of printer bytes (print-data frames, a TSPL
// label job, ...) to a virtual printer and saves the paper it prints.

#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVVirtualPrinter.h>

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

void render(const RenderOptions &options) {
  const ZVData bytes = readFile(options.job);
  ZVVirtualPrinterConfig config;
  config.headWidthDots = options.headWidth;
  ZVVirtualPrinter printer(config);
  printer.receive(bytes);
  printer.endOfInput();

  const auto errors = printer.streamErrors();
  for (size_t i = 0; i < errors.size() && i < kErrorsShown; ++i) {
    std::cerr << "zvprint: render: " << errors[i] << "\n";
  }
  const auto stats = printer.statistics();
  if (stats.streamErrors > kErrorsShown) {
    std::cerr << "zvprint: render: ... and " << stats.streamErrors - kErrorsShown
              << " more stream errors\n";
  }
  const std::string counts = count(stats.printFrames, "frame") + ", " +
                             count(stats.bitmaps, "bitmap") + ", " + count(stats.labels, "label") +
                             " from " + count(bytes.size(), "byte") + ", " +
                             count(stats.streamErrors, "stream error");
  if (printer.paperRows().empty()) {
    fail("nothing printable in " + options.job + " (" + counts +
         "); the printer needs framed print data (convert --package) or a TSPL label job");
  }
  std::string error;
  if (!printer.writePaperPNG(options.output, &error)) fail(options.output + ": " + error);
  std::cout << "printed " << count(stats.rowsPrinted, "row") << ", " << printer.paperWidthDots()
            << " dots wide: " << counts << " -> " << options.output << "\n";
}

} // namespace

void addRenderCommand(CLI::App &app) {
  auto options = std::make_shared<RenderOptions>();
  auto *command = app.add_subcommand(
      "render", "Print a file of printer bytes on the virtual printer and save the paper as PNG");
  command->add_option("JOB", options->job, "printer bytes (convert --package, label output)")
      ->required()
      ->check(CLI::ExistingFile);
  command->add_option("-o,--output", options->output, "paper PNG to write")->required();
  command->add_option("--head-width", options->headWidth,
                      "dots the print head covers; wider rows are clipped (0: no limit)");
  command->callback([options] { render(*options); });
}

} // namespace zvprint
