// zvprint print: scans, connects, converts, prints and waits for the
// printer's confirmation; on the virtual printer --paper saves the paper.

#include "cli_support.h"
#include "commands.h"
#include "printing.h"

#include <zvprinter/ZVPrintImage.h>

#include <memory>

namespace zvprint {

namespace {

struct PrintOptions {
  std::string image;
  int64_t mode = 1;
  uint32_t width = 0;
  bool enlarge = false;
  PrintingOptions printing;
};

void print(const PrintOptions &options) {
  const ZVImage image = loadImage(options.image);
  ZVPrintImageOptions fit;
  fit.printWidthDots = options.width;
  fit.enlarge = options.enlarge;
  const auto data = ZVPrintImage::printData(image, options.mode, fit);
  if (!data) fail("cannot convert " + options.image + " for printing");
  printBytes(*data, options.printing,
             installBackend(options.printing.backend, options.printing.printer));
}

} // namespace

void addPrintCommand(CLI::App &app) {
  auto options = std::make_shared<PrintOptions>();
  auto *command = app.add_subcommand(
      "print", "Print an image and wait for the printer to confirm it (exit 0 only then)");
  command->add_option("IMAGE", options->image, "PNG or JPEG image")
      ->required()
      ->check(CLI::ExistingFile);
  command->add_option("--mode", options->mode, "Processing mode")
      ->transform(modeOption())
      ->default_val(1);
  command->add_option("--width", options->width,
                      "Print width in dots (default 576); wider images are scaled down");
  command->add_flag("--enlarge", options->enlarge, "Scale narrower images up to the print width");
  addPrintingOptions(*command, options->printing);
  command->callback([options] { print(*options); });
}

} // namespace zvprint
