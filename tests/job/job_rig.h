#pragma once

// A virtual printer in range of the library's own central, on the main queue
// under the virtual clock: what the job tests print on. Each test runs in a
// process of its own, so the library's singletons start fresh.

#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <memory>

namespace zvtest {

struct JobRig {
  explicit JobRig(ZVVirtualPrinterProfile profile = ZVVirtualPrinterProfile::ISSC,
                  ZVVirtualPrinterConfig config = {}) {
    ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
    config.profile = profile;
    printer = std::make_shared<ZVVirtualPrinter>(config);
    central = std::make_shared<ZVSimCentral>(ZVRunLoop::main());
    central->addPrinter(printer);
    ZVPlatform::setCentralFactory([central = central] { return central; });
  }
  ~JobRig() { ZVPlatform::setCentralFactory({}); }

  std::shared_ptr<ZVVirtualPrinter> printer;
  std::shared_ptr<ZVSimCentral> central;
};

} // namespace zvtest
