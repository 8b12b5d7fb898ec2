#pragma once

// The one place where zvprint chooses the Bluetooth central its commands
// use: BlueZ for real printers, or the built-in virtual printer on the
// simulated central (under the virtual clock, so every run is the same and
// a photo prints in a moment of wall time).

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace zvprint {

/// Options that choose and shape the printer.
struct BackendOptions {
  /// auto | bluez | sim. auto: BlueZ when org.bluez is on the system bus
  /// with a powered adapter, else the virtual printer (with a notice).
  std::string backend = "auto";
  /// BlueZ adapter ("hci0"); empty: the first powered one.
  std::string adapter;
  std::string profile = "issc"; ///< the virtual printer's module: issc | ivt
};

/// Adds --backend, --adapter and --profile to @p command.
void addBackendOptions(CLI::App &command, BackendOptions &options);

/// The backend in use.
struct Backend {
  /// "bluez" or "sim".
  std::string name;
  /// The virtual printer (null on BlueZ).
  std::shared_ptr<ZVVirtualPrinter> virtualPrinter;
  std::shared_ptr<ZVBleCentral> central;
};

/// Makes the library use the chosen backend and waits (at most a few
/// seconds) until its adapter has reported its state. Call once, before any
/// connection call. Exits with a one-line message saying what to do when the
/// backend cannot be used (BlueZ missing, adapter off, no permission).
/// With "auto" and no usable BlueZ, a @p namedPrinter (the --printer text)
/// is reported not found instead of printing on the virtual printer.
Backend installBackend(const BackendOptions &options, const std::string &namedPrinter = "");

} // namespace zvprint
