#pragma once

// Installs a simulated central as the library's central for one test: the
// main loop runs under the chosen clock and every ZVPlatform caller gets this
// central until the scope ends. Each test runs in a process of its own, so the
// library's singletons start fresh.

#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>

#include <memory>

namespace zvtest {

struct InstalledSimCentral {
  explicit InstalledSimCentral(ZVRunLoop::Clock clock = ZVRunLoop::Clock::Virtual,
                               bool poweredOn = true) {
    ZVRunLoop::main().setClock(clock);
    central = std::make_shared<ZVSimCentral>(ZVRunLoop::main(), poweredOn);
    ZVPlatform::setCentralFactory([c = central] { return c; });
  }
  ~InstalledSimCentral() { ZVPlatform::setCentralFactory({}); }
  InstalledSimCentral(const InstalledSimCentral &) = delete;
  InstalledSimCentral &operator=(const InstalledSimCentral &) = delete;

  std::shared_ptr<ZVSimCentral> central;
};

} // namespace zvtest
