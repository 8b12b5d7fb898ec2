// zvprint print: scans, connects, converts, prints and waits for the
// printer's confirmation; on the virtual printer --paper saves the paper.

#include "cli_support.h"
#include "commands.h"
#include "job_output.h"
#include "printer_backend.h"

#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVPrintJob.h>

#include <memory>

namespace zvprint {

namespace {

struct PrintOptions {
  std::string image;
  int64_t mode = 1;
  std::string printer;
  std::string paper;
  uint32_t width = 0;
  bool enlarge = false;
  BackendOptions backend;
  OutputOptions output;
};

void print(const PrintOptions &options) {
  const ZVImage image = loadImage(options.image);
  const Backend backend = installBackend(options.backend);
  if (!options.paper.empty() && !backend.virtualPrinter) fail("--paper needs the virtual printer");
  requirePoweredOn(backend);

  ZVPrintImageOptions fit;
  fit.printWidthDots = options.width;
  fit.enlarge = options.enlarge;
  const auto data = ZVPrintImage::printData(image, options.mode, fit);
  if (!data) fail("cannot convert " + options.image + " for printing");

  ZVPrintJobOptions jobOptions;
  jobOptions.printer = ZVPrinterTarget::fromText(options.printer);
  ZVPrintJob job(*data, jobOptions);
  JobOutput output(options.output, "print", "bytes");
  job.setProgressHandler(output.handler());
  const ZVJobResult result = job.run();

  std::string paperNote;
  if (!options.paper.empty() && backend.virtualPrinter->paperImage()) {
    std::string error;
    if (!backend.virtualPrinter->writePaperPNG(options.paper, &error))
      fail(options.paper + ": " + error);
    paperNote = ", paper in " + options.paper;
  }
  output.finish(result,
                "printed on " + result.printerName + ": " + std::to_string(result.bytesTotal) +
                    " bytes, confirmed by the printer" + paperNote,
                options.paper.empty() ? "" : "\"paper\":\"" + options.paper + "\"");
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
  command->add_option("--printer", options->printer,
                      "Printer name (part of it) or identifier; default: the first one found");
  command->add_option("--paper", options->paper,
                      "Virtual printer: write the printed paper to this PNG");
  command->add_option("--width", options->width,
                      "Print width in dots (default 576); wider images are scaled down");
  command->add_flag("--enlarge", options->enlarge, "Scale narrower images up to the print width");
  addBackendOptions(*command, options->backend);
  addOutputOptions(*command, options->output);
  command->callback([options] { print(*options); });
}

} // namespace zvprint
