#pragma once

// A virtual printer in range of the library's own central, on the main queue
// under the virtual clock: what the job tests print on. Each test runs in a
// process of its own, so the library's singletons start fresh.

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include "support/sim_central.h"

#include <memory>

namespace zvtest {

struct JobRig {
  explicit JobRig(ZVVirtualPrinterProfile profile = ZVVirtualPrinterProfile::ISSC,
                  ZVVirtualPrinterConfig config = {}) {
    config.profile = profile;
    printer = std::make_shared<ZVVirtualPrinter>(config);
    central->addPrinter(printer);
  }

  /// Records the facade's connection events.
  class Delegate : public ZVPrinterInterfaceDelegate {
  public:
    void didConnectSuccess() override { connected = true; }
    void didDisconnect(bool) override { ++disconnects; }
    bool connected = false;
    int disconnects = 0;
  };

  /// Connects the printer through the facade alone, as an application using
  /// the described API does; returns the delegate that hears the events.
  std::shared_ptr<Delegate> connectThroughFacade() {
    ZVRunLoop &loop = ZVRunLoop::main();
    ZVConnectInterface &facade = ZVConnectInterface::shared();
    auto delegate = std::make_shared<Delegate>();
    facade.setDelegate(delegate);
    facade.scanBluetooth();
    const auto &devices = ZVBluetoothManager::shareInstance().devices();
    if (!loop.runUntil([&] { return !devices.empty(); }, 5)) return delegate;
    facade.connectPrinter(devices.front());
    loop.runUntil([&] { return delegate->connected; }, 10);
    return delegate;
  }

  InstalledSimCentral installed;
  std::shared_ptr<ZVSimCentral> central = installed.central;
  std::shared_ptr<ZVVirtualPrinter> printer;
};

} // namespace zvtest
