#pragma once

// Records what a central and its peripherals report, for the BlueZ tests.

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVBluezCentral.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zv::test {

struct Discovery {
  std::shared_ptr<ZVBlePeripheral> peripheral;
  ZVBleAdvertisement advertisement;
  int64_t rssi = 0;
};

struct BluezRecorder : ZVBleCentralDelegate, ZVBlePeripheralDelegate {
  std::vector<int64_t> states;
  std::vector<Discovery> discoveries;
  int connects = 0;
  std::vector<std::optional<ZVError>> connectFailures;
  std::vector<std::optional<ZVError>> disconnects;
  int servicesDiscovered = 0;
  int characteristicsDiscovered = 0;
  std::vector<std::pair<std::string, ZVData>> values; // uuid, value
  std::vector<std::optional<ZVError>> valueErrors;
  std::vector<std::optional<ZVError>> writes;
  std::vector<std::optional<ZVError>> notifyStates;

  void didUpdateState(ZVBleCentral &central) override { states.push_back(central.state()); }
  void didDiscoverPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &p,
                             const ZVBleAdvertisement &ad, int64_t rssi) override {
    discoveries.push_back({p, ad, rssi});
  }
  void didConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &) override {
    ++connects;
  }
  void didFailToConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::optional<ZVError> &error) override {
    connectFailures.push_back(error);
  }
  void didDisconnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                               const std::optional<ZVError> &error) override {
    disconnects.push_back(error);
  }
  void didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &,
                           const std::optional<ZVError> &) override {
    ++servicesDiscovered;
  }
  void didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::shared_ptr<ZVBleService> &,
                                  const std::optional<ZVError> &) override {
    ++characteristicsDiscovered;
  }
  void didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &,
                      const std::shared_ptr<ZVBleCharacteristic> &c,
                      const std::optional<ZVError> &error) override {
    if (error) {
      valueErrors.push_back(error);
    } else {
      values.emplace_back(c->uuid(), c->value());
    }
  }
  void didWriteValue(const std::shared_ptr<ZVBlePeripheral> &,
                     const std::shared_ptr<ZVBleCharacteristic> &,
                     const std::optional<ZVError> &error) override {
    writes.push_back(error);
  }
  void didUpdateNotificationState(const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::shared_ptr<ZVBleCharacteristic> &,
                                  const std::optional<ZVError> &error) override {
    notifyStates.push_back(error);
  }
};

} // namespace zv::test
