#include "printer_backend.h"

#include "cli_support.h"

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>
#if ZV_WITH_BLUEZ
#include <zvprinter/ZVBluezCentral.h>
#endif

#include <cstdio>
#include <cstdlib>

namespace zvprint {

void addBackendOptions(CLI::App &command, BackendOptions &options) {
  // ZVPRINT_BACKEND sets the default, for scripts and tests that must not
  // reach a real printer by accident.
  if (const char *preset = std::getenv("ZVPRINT_BACKEND")) {
    const std::string value = preset;
    if (value == "auto" || value == "bluez" || value == "sim") options.backend = value;
  }
  command
      .add_option("--backend", options.backend,
                  "auto (BlueZ when an adapter is powered, else the virtual printer), bluez or "
                  "sim; the default can be set with ZVPRINT_BACKEND")
      ->transform(CLI::IsMember({"auto", "bluez", "sim"}, CLI::ignore_case))
      ->capture_default_str();
  command.add_option("--adapter", options.adapter,
                     "BlueZ adapter, e.g. hci0 (default: the first powered one)");
  command
      .add_option("--profile", options.profile,
                  "Bluetooth module of the virtual printer: issc (acknowledged writes) or ivt "
                  "(credit flow control)")
      ->transform(CLI::IsMember({"issc", "ivt"}, CLI::ignore_case));
}

namespace {

Backend chooseBackend(const BackendOptions &options, const std::string &namedPrinter);

// Runs the main loop until the central has reported its first state, then
// exits with a one-line message unless it is powered on.
void requirePoweredOn(const Backend &backend) {
  // The manager takes the central (and its delegate role) before the loop
  // runs, so it hears the first state report too.
  ZVBluetoothManager::shareInstance();
  auto &loop = ZVRunLoop::main();
  loop.runUntil([&] { return backend.central->state() != ZVBleCentralStateUnknown; }, 5.0);
  if (backend.central->state() == ZVBleCentralStatePoweredOn) return;
#if ZV_WITH_BLUEZ
  if (auto bluez = std::dynamic_pointer_cast<ZVBluezCentral>(backend.central)) {
    const std::string reason = bluez->unavailableReason();
    if (!reason.empty()) fail(reason);
  }
#endif
  fail("Bluetooth is not available (adapter state " + std::to_string(backend.central->state()) +
       ")");
}

Backend simulated(const BackendOptions &options) {
  ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
  ZVVirtualPrinterConfig config;
  config.profile =
      options.profile == "ivt" ? ZVVirtualPrinterProfile::IVT : ZVVirtualPrinterProfile::ISSC;
  Backend backend;
  backend.name = "sim";
  backend.virtualPrinter = std::make_shared<ZVVirtualPrinter>(config);
  auto central = std::make_shared<ZVSimCentral>(ZVRunLoop::main());
  central->addPrinter(backend.virtualPrinter);
  backend.central = central;
  ZVPlatform::setCentralFactory([central] { return central; });
  return backend;
}

} // namespace

Backend installBackend(const BackendOptions &options, const std::string &namedPrinter) {
  Backend backend = chooseBackend(options, namedPrinter);
  requirePoweredOn(backend);
  return backend;
}

namespace {

// A printer asked for by name is a real one: falling back to the virtual
// printer would print nothing where the user expects paper.
void requireNoNamedPrinter(const std::string &namedPrinter, const std::string &why) {
  if (namedPrinter.empty()) return;
  fail("printer \"" + namedPrinter + "\" not found: " + why +
       " (--backend sim uses the built-in virtual printer)");
}

Backend chooseBackend(const BackendOptions &options, const std::string &namedPrinter) {
  if (options.backend == "sim") return simulated(options);
#if ZV_WITH_BLUEZ
  const auto probe = ZVBluezCentral::probe({options.adapter, ""});
  if (probe.status != ZVBluezProbe::Status::Ready) {
    if (options.backend == "bluez") fail(probe.message);
    requireNoNamedPrinter(namedPrinter, "no usable BlueZ (" + probe.message + ")");
    std::fprintf(stderr, "zvprint: no usable BlueZ (%s); using the built-in virtual printer\n",
                 probe.message.c_str());
    return simulated(options);
  }
  Backend backend;
  backend.name = "bluez";
  auto central = ZVBluezCentral::make({options.adapter, ""}, ZVRunLoop::main());
  backend.central = central;
  ZVPlatform::setCentralFactory([central] { return central; });
  return backend;
#else
  if (options.backend == "bluez") fail("this zvprint was built without BlueZ (ZV_WITH_BLUEZ=OFF)");
  requireNoNamedPrinter(namedPrinter, "this zvprint was built without BlueZ");
  std::fprintf(stderr, "zvprint: built without BlueZ; using the built-in virtual printer\n");
  return simulated(options);
#endif
}

} // namespace

} // namespace zvprint
