#pragma once

// A host that drives the Bluetooth port exactly as the connection layer
// does, recording every delegate call, for tests of the simulated backend.

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

struct Notification {
  std::string uuid;
  ZVData value;
  double time;
};

class TestHost : public ZVBleCentralDelegate, public ZVBlePeripheralDelegate {
public:
  explicit TestHost(ZVRunLoop &loop) : loop(loop) {}

  void didUpdateState(ZVBleCentral &central) override;
  void didDiscoverPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                             const ZVBleAdvertisement &, int64_t rssi) override;
  void didConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &) override;
  void didFailToConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::optional<ZVError> &) override;
  void didDisconnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                               const std::optional<ZVError> &) override;
  void didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &,
                           const std::optional<ZVError> &) override;
  void didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::shared_ptr<ZVBleService> &,
                                  const std::optional<ZVError> &) override;
  void didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &,
                      const std::shared_ptr<ZVBleCharacteristic> &,
                      const std::optional<ZVError> &) override;
  void didWriteValue(const std::shared_ptr<ZVBlePeripheral> &,
                     const std::shared_ptr<ZVBleCharacteristic> &,
                     const std::optional<ZVError> &) override;
  void didUpdateNotificationState(const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::shared_ptr<ZVBleCharacteristic> &,
                                  const std::optional<ZVError> &) override;

  /// Scans, connects to the first printer found, discovers the three
  /// services the library asks for and all their characteristics, and
  /// subscribes to every notifying one. Returns false if any step stalls.
  bool connectAndSubscribe(ZVSimCentral &central, std::weak_ptr<ZVBlePeripheralDelegate> self);
  /// Writes @p data in chunks of @p chunk bytes: with response, waiting for
  /// each acknowledgement (ISSC); without, all at once (IVT).
  void writeInChunks(const ZVData &data, size_t chunk, int64_t type);
  /// Values notified on @p uuid so far, concatenated.
  ZVData received(const std::string &uuid) const;

  ZVRunLoop &loop;
  std::vector<std::string> events;
  std::vector<ZVBleAdvertisement> advertisements;
  std::vector<int64_t> rssis;
  std::shared_ptr<ZVBlePeripheral> peripheral;
  std::map<std::string, std::shared_ptr<ZVBleCharacteristic>> characteristics;
  std::vector<Notification> notifications;
  std::vector<std::optional<ZVError>> writeResults;
  std::vector<double> writeResultTimes;
  std::optional<ZVError> disconnectError;
  bool disconnected = false;
  bool servicesReported = false;
  size_t servicesPending = 0;
  size_t subscriptionsPending = 0;
};

} // namespace zvtest
