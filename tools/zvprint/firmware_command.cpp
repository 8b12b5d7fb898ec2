// zvprint firmware: sends a firmware image in acknowledged frames; exit 0
// only when the printer accepted every frame.

#include "cli_support.h"
#include "commands.h"
#include "job_output.h"
#include "printer_backend.h"

#include <zvprinter/ZVFirmwareJob.h>

#include <memory>

namespace zvprint {

namespace {

struct FirmwareOptions {
  std::string file;
  std::string printer;
  BackendOptions backend;
  OutputOptions output;
};

void update(const FirmwareOptions &options) {
  const ZVData image = readFile(options.file);
  if (image.empty()) fail(options.file + " is empty");
  installBackend(options.backend, options.printer);
  ZVFirmwareJobOptions jobOptions;
  jobOptions.printer = ZVPrinterTarget::fromText(options.printer);
  ZVFirmwareJob job = ZVFirmwareJob::forImage(image, jobOptions);
  JobOutput output(options.output, "firmware update", "frames");
  job.setProgressHandler(output.handler());
  const ZVJobResult result = job.run();
  output.finish(result, "firmware sent to " + result.printerName + ": " +
                            std::to_string(result.bytesTotal) + " frames, every one accepted");
}

} // namespace

void addFirmwareCommand(CLI::App &app) {
  auto options = std::make_shared<FirmwareOptions>();
  auto *command = app.add_subcommand(
      "firmware", "Update the printer's firmware (exit 0 only when every frame was accepted)");
  command->add_option("FILE", options->file, "Firmware image")
      ->required()
      ->check(CLI::ExistingFile);
  command->add_option("--printer", options->printer,
                      "Printer name (part of it) or identifier; default: the first one found");
  addBackendOptions(*command, options->backend);
  addOutputOptions(*command, options->output);
  command->callback([options] { update(*options); });
}

} // namespace zvprint
