#include "printer_backend.h"

#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVRunLoop.h>

#include <map>

namespace zvprint {

void addBackendOptions(CLI::App &command, BackendOptions &options) {
  command
      .add_option("--profile", options.profile,
                  "Bluetooth module of the virtual printer: issc (acknowledged writes) or ivt "
                  "(credit flow control)")
      ->transform(CLI::IsMember({"issc", "ivt"}, CLI::ignore_case));
}

Backend installBackend(const BackendOptions &options) {
  ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
  ZVVirtualPrinterConfig config;
  config.profile =
      options.profile == "ivt" ? ZVVirtualPrinterProfile::IVT : ZVVirtualPrinterProfile::ISSC;
  Backend backend;
  backend.virtualPrinter = std::make_shared<ZVVirtualPrinter>(config);
  backend.central = std::make_shared<ZVSimCentral>(ZVRunLoop::main());
  backend.central->addPrinter(backend.virtualPrinter);
  ZVPlatform::setCentralFactory([central = backend.central] { return central; });
  return backend;
}

} // namespace zvprint
