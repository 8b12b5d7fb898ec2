#pragma once

// The printer a zvprint command talks to: the built-in virtual printer on
// the simulated central (under the virtual clock, so every run is the same
// and a photo prints in a moment of wall time).

#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace zvprint {

/// Options that choose and shape the printer.
struct BackendOptions {
  std::string profile = "issc"; ///< the virtual printer's module: issc | ivt
};

/// Adds --profile to @p command.
void addBackendOptions(CLI::App &command, BackendOptions &options);

/// The backend in use; the virtual printer is null on a real backend.
struct Backend {
  std::shared_ptr<ZVVirtualPrinter> virtualPrinter;
  std::shared_ptr<ZVSimCentral> central;
};

/// Makes the library use the chosen backend. Call once, before any
/// connection call.
Backend installBackend(const BackendOptions &options);

} // namespace zvprint
