#pragma once

// Sending print data to the printer as a print job, shared by `print` and
// `label --print`: the printer options, the job, the paper of the virtual
// printer, and the outcome as the exit status.

#include "job_output.h"
#include "printer_backend.h"

#include <zvprinter/ZVTypes.h>

#include <CLI/CLI.hpp>

#include <string>

namespace zvprint {

struct PrintingOptions {
  std::string printer;
  std::string paper;
  BackendOptions backend;
  OutputOptions output;
};

/// Adds --printer, --paper, --profile and --json to @p command.
void addPrintingOptions(CLI::App &command, PrintingOptions &options);

/// Prints @p data as one job and waits for the printer's confirmation;
/// throws CommandFailure unless the printer confirmed it. @p backend must
/// have been installed with installBackend().
void printBytes(const ZVData &data, const PrintingOptions &options, const Backend &backend);

} // namespace zvprint
