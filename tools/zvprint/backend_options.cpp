#include "backend_options.h"

#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>

#include <map>

namespace zvprint {

void addBackendOptions(CLI::App &command, BackendOptions &options) {
  command
      .add_option("--profile", options.profile,
                  "Bluetooth module of the virtual printer: issc or ivt")
      ->check(CLI::IsMember({"issc", "ivt"}, CLI::ignore_case))
      ->capture_default_str();
}

Backend configurePlatform(const BackendOptions &options) {
  auto &loop = ZVRunLoop::main();
  loop.setClock(ZVRunLoop::Clock::Virtual);
  ZVVirtualPrinterConfig config;
  config.profile =
      options.profile == "ivt" ? ZVVirtualPrinterProfile::IVT : ZVVirtualPrinterProfile::ISSC;
  Backend backend;
  backend.virtualPrinters.push_back(std::make_shared<ZVVirtualPrinter>(config));
  auto central = std::make_shared<ZVSimCentral>(loop);
  for (const auto &printer : backend.virtualPrinters)
    central->addPrinter(printer);
  ZVPlatform::setCentralFactory([central] { return central; });
  return backend;
}

} // namespace zvprint
