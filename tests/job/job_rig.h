#pragma once

// A virtual printer in range of the library's own central, on the main queue
// under the virtual clock: what the job tests print on. Each test runs in a
// process of its own, so the library's singletons start fresh.

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
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

  std::shared_ptr<ZVVirtualPrinter> printer;
  std::shared_ptr<ZVSimCentral> central;
};

} // namespace zvtest
