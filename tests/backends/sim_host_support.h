#pragma once

// A host that drives the Bluetooth port as the connection layer does and
// records what the port reports, plus the rig of a virtual printer behind a
// simulated central, for tests of the simulated backend.

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zvtest {

constexpr const char *kIsscWrite = "49535343-8841-43F4-A8D4-ECBE34729BB3";
constexpr const char *kIsscRead = "49535343-1E4D-4BD9-BA61-23C647249616";

class TestHost : public ZVBleCentralDelegate, public ZVBlePeripheralDelegate {
public:
  explicit TestHost(ZVRunLoop &loop) : loop(loop) {}

  void didDiscoverPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &p,
                             const ZVBleAdvertisement &, int64_t) override {
    if (!peripheral) peripheral = p;
  }
  void didFailToConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::optional<ZVError> &error) override {
    connectError = error;
  }
  void didDisconnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                               const std::optional<ZVError> &error) override {
    disconnectError = error;
  }
  void didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &p,
                           const std::optional<ZVError> &) override {
    servicesPending = p->services().size() + 1;
    for (const auto &service : p->services())
      p->discoverCharacteristics(std::nullopt, service);
    --servicesPending;
  }
  void didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &p,
                                  const std::shared_ptr<ZVBleService> &service,
                                  const std::optional<ZVError> &) override {
    for (const auto &characteristic : service->characteristics()) {
      characteristics[characteristic->uuid()] = characteristic;
      if (characteristic->properties() & ZVBleCharacteristicPropertyNotify) {
        ++subscriptionsPending;
        p->setNotifyValue(true, characteristic);
      }
    }
    --servicesPending;
  }
  void didUpdateNotificationState(const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::shared_ptr<ZVBleCharacteristic> &,
                                  const std::optional<ZVError> &) override {
    --subscriptionsPending;
  }
  void didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &,
                      const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                      const std::optional<ZVError> &) override {
    notifications.push_back({characteristic->uuid(), characteristic->value()});
  }
  void didWriteValue(const std::shared_ptr<ZVBlePeripheral> &,
                     const std::shared_ptr<ZVBleCharacteristic> &,
                     const std::optional<ZVError> &error) override {
    writeResults.push_back(error);
    writeResultTimes.push_back(loop.now());
  }

  /// Scans, connects to the first printer found, discovers the three
  /// services the library asks for and all their characteristics, and
  /// subscribes to every notifying one. Returns false if any step stalls.
  bool connectAndSubscribe(ZVSimCentral &central, std::weak_ptr<ZVBlePeripheralDelegate> self) {
    if (!loop.runUntil([&] { return central.state() == ZVBleCentralStatePoweredOn; }, 1))
      return false;
    central.scanForPeripherals(std::nullopt, false);
    if (!loop.runUntil([&] { return peripheral != nullptr; }, 1)) return false;
    central.stopScan();
    peripheral->setDelegate(std::move(self));
    central.connect(peripheral);
    if (!loop.runUntil([&] { return peripheral->state() == ZVBlePeripheralStateConnected; }, 5))
      return false;
    peripheral->discoverServices(
        std::vector<std::string>{"49535343-FE7D-4AE5-8FA9-9FAFD205E455", "180A", "FF00"});
    return loop.runUntil([&] { return servicesPending == 0 && subscriptionsPending == 0; }, 5);
  }

  /// Writes @p data in chunks of @p chunk bytes: with response waiting for
  /// each acknowledgement (ISSC), without all at once (IVT).
  void writeInChunks(const ZVData &data, size_t chunk, int64_t type) {
    const auto target = characteristics.at(type == ZVBleWriteWithResponse ? kIsscWrite : "FF02");
    for (size_t at = 0; at < data.size(); at += chunk) {
      const size_t answered = writeResults.size();
      const auto first = data.begin() + static_cast<std::ptrdiff_t>(at);
      peripheral->writeValue(
          ZVData(first, first + static_cast<std::ptrdiff_t>(std::min(chunk, data.size() - at))),
          target, type);
      if (type == ZVBleWriteWithResponse &&
          !loop.runUntil([&] { return writeResults.size() > answered; }, 1))
        return;
    }
  }

  /// Values notified on @p uuid so far, concatenated.
  ZVData received(const std::string &uuid) const {
    ZVData all;
    for (const auto &[from, value] : notifications)
      if (from == uuid) all.insert(all.end(), value.begin(), value.end());
    return all;
  }

  ZVRunLoop &loop;
  std::shared_ptr<ZVBlePeripheral> peripheral;
  std::map<std::string, std::shared_ptr<ZVBleCharacteristic>> characteristics;
  std::vector<std::pair<std::string, ZVData>> notifications;
  std::vector<std::optional<ZVError>> writeResults;
  std::vector<double> writeResultTimes;
  std::optional<ZVError> connectError, disconnectError;
  size_t servicesPending = 1;
  size_t subscriptionsPending = 0;
};

/// A virtual printer in range of a simulated central, with a host attached.
struct Rig {
  explicit Rig(ZVVirtualPrinterProfile profile = ZVVirtualPrinterProfile::ISSC,
               ZVRunLoop::Clock clock = ZVRunLoop::Clock::Virtual)
      : loop(clock), printer(std::make_shared<ZVVirtualPrinter>(config(profile))) {
    central->setDelegate(host);
    central->addPrinter(printer);
  }
  static ZVVirtualPrinterConfig config(ZVVirtualPrinterProfile profile) {
    ZVVirtualPrinterConfig c;
    c.profile = profile;
    return c;
  }
  bool connect() { return host->connectAndSubscribe(*central, host); }

  ZVRunLoop loop;
  std::shared_ptr<ZVSimCentral> central = std::make_shared<ZVSimCentral>(loop);
  std::shared_ptr<TestHost> host = std::make_shared<TestHost>(loop);
  std::shared_ptr<ZVVirtualPrinter> printer;
};

} // namespace zvtest
