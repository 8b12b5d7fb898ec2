// zvprint firmware: sends a firmware image in acknowledged frames; exit 0
// only when the printer accepted every frame.

#include "cli_support.h"
#include "commands.h"
#include "job_output.h"
#include "printer_backend.h"

#include <zvprinter/ZVFirmwareJob.h>
#include <zvprinter/ZVPackProtocol.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include <unistd.h>

namespace zvprint {

namespace {

struct FirmwareOptions {
  std::string file;
  std::string printer;
  bool yes = false;
  bool dryRun = false;
  BackendOptions backend;
  OutputOptions output;
};

std::string hex32(uint32_t value) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", value);
  return text;
}

// Firmware replaces what the printer runs: a person confirms what goes where.
void confirm(const FirmwareOptions &options, const std::string &summary) {
  std::cerr << "zvprint: " << summary << "\n";
  if (options.yes) return;
  if (!isatty(STDIN_FILENO))
    fail("firmware update not confirmed: run it from a terminal or add --yes; nothing was sent");
  std::cerr << "Send this firmware? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes")
    fail("firmware update not confirmed; nothing was sent");
}

void update(const FirmwareOptions &options) {
  const ZVData image = readFile(options.file);
  if (const auto refused = ZVFirmwareJob::refusal(image))
    fail(options.file + ": " + *refused + "; nothing was sent");
  const ZVFirmwareImageFacts facts = ZVFirmwareJob::facts(image);
  const std::string target =
      options.printer.empty() ? "the first printer found" : "printer \"" + options.printer + "\"";
  const std::string summary = options.file + ": " + std::to_string(facts.bytes) + " bytes, " +
                              std::to_string(facts.frames) +
                              (facts.frames == 1 ? " frame" : " frames") + ", CRC-32 " +
                              hex32(facts.crc32) + ", to " + target;
  if (options.dryRun) {
    std::cout << summary << "\n";
    const auto frames = ZVPackProtocol::generateFirmwarePacksWithData(image);
    for (size_t i = 0; i < frames.size(); ++i)
      std::cout << "frame " << i + 1 << ": offset " << frames[i].offset << ", "
                << frames[i].data.size() << " bytes\n";
    std::cout << "dry run: nothing was sent\n";
    return;
  }
  confirm(options, summary);
  installBackend(options.backend, options.printer);
  ZVFirmwareJobOptions jobOptions;
  jobOptions.printer = ZVPrinterTarget::fromText(options.printer);
  ZVFirmwareJob job = ZVFirmwareJob::forImage(image, jobOptions);
  JobOutput output(options.output, "firmware update", "frames");
  job.setProgressHandler(output.handler());
  const ZVJobResult result = job.run();
  output.finish(
      result, "firmware sent to " + result.printerName + ": " + std::to_string(result.bytesTotal) +
                  (result.bytesTotal == 1 ? " frame, accepted" : " frames, every one accepted"));
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
  command->add_flag("--yes", options->yes, "Send without asking (needed without a terminal)");
  command->add_flag("--dry-run", options->dryRun,
                    "Show the file's size, CRC-32 and frames; send nothing");
  addBackendOptions(*command, options->backend);
  addOutputOptions(*command, options->output);
  command->callback([options] { update(*options); });
}

} // namespace zvprint
