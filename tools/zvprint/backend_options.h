#pragma once

// The one place where zvprint chooses the Bluetooth central its commands
// use. Today that is the built-in virtual printer behind the simulated
// central; other backends add their option values here.

#include <zvprinter/ZVVirtualPrinter.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zvprint {

struct BackendOptions {
  /// The virtual printer's Bluetooth module: "issc" or "ivt".
  std::string profile = "issc";
};

/// Adds the backend options (--profile) to @p command.
void addBackendOptions(CLI::App &command, BackendOptions &options);

/// What configurePlatform() set up.
struct Backend {
  /// The virtual printers in range (simulated backend), for commands that
  /// save their paper.
  std::vector<std::shared_ptr<ZVVirtualPrinter>> virtualPrinters;
};

/// Installs the central the options choose through ZVPlatform and sets the
/// main loop's clock (virtual for the simulated backend, so a scan of
/// several seconds returns at once). Call before the first use of the
/// connection classes.
Backend configurePlatform(const BackendOptions &options);

} // namespace zvprint
