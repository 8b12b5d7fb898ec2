// zvprint print: scans, connects, converts, prints and waits for the
// printer's confirmation; on the virtual printer --paper saves the paper.

#include "cli_support.h"
#include "commands.h"
#include "printing.h"

#include <zvprinter/ZVPrintImage.h>

#include <cstdlib>
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
  // Rows go to the head in whole bytes, and the head is 576 dots wide.
  const CLI::Validator printWidth(
      [](std::string &text) {
        constexpr long kWidest = ZVPrintImage::kDefaultPrintWidthDots;
        char *end = nullptr;
        const long dots = std::strtol(text.c_str(), &end, 10);
        if (*end == '\0' && dots >= 8 && dots <= kWidest && dots % 8 == 0) return std::string();
        return text + " dots is not a whole number of bytes from 8 to " + std::to_string(kWidest) +
               " (a multiple of 8)";
      },
      "8..576, multiple of 8");
  command
      ->add_option("--width", options->width,
                   "Print width in dots, a multiple of 8 up to 576 (default 576); wider images "
                   "are scaled down")
      ->check(printWidth);
  command->add_flag("--enlarge", options->enlarge, "Scale narrower images up to the print width");
  addPrintingOptions(*command, options->printing);
  command->callback([options] { print(*options); });
}

} // namespace zvprint
