#include "backends/sim_host_support.h"

namespace zvtest {

void TestHost::didUpdateState(ZVBleCentral &central) {
  events.push_back("state " + std::to_string(central.state()));
}

void TestHost::didDiscoverPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &p,
                                     const ZVBleAdvertisement &advertisement, int64_t rssi) {
  events.push_back("discovered " + p->identifier());
  if (!peripheral) peripheral = p;
  advertisements.push_back(advertisement);
  rssis.push_back(rssi);
}

void TestHost::didConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &) {
  events.push_back("connected");
}

void TestHost::didFailToConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                          const std::optional<ZVError> &error) {
  events.push_back("failed " + (error ? std::to_string(error->code) : std::string("-")));
}

void TestHost::didDisconnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                       const std::optional<ZVError> &error) {
  events.push_back("disconnected");
  disconnected = true;
  disconnectError = error;
}

void TestHost::didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &p,
                                   const std::optional<ZVError> &) {
  std::string list;
  for (const auto &service : p->services())
    list += " " + service->uuid();
  events.push_back("services" + list);
  servicesReported = true;
  servicesPending = p->services().size();
  for (const auto &service : p->services())
    p->discoverCharacteristics(std::nullopt, service);
}

void TestHost::didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &p,
                                          const std::shared_ptr<ZVBleService> &service,
                                          const std::optional<ZVError> &) {
  for (const auto &characteristic : service->characteristics()) {
    characteristics[characteristic->uuid()] = characteristic;
    if (characteristic->properties() & ZVBleCharacteristicPropertyNotify) {
      ++subscriptionsPending;
      p->setNotifyValue(true, characteristic);
    }
  }
  --servicesPending;
}

void TestHost::didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &,
                              const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                              const std::optional<ZVError> &) {
  notifications.push_back({characteristic->uuid(), characteristic->value(), loop.now()});
}

void TestHost::didWriteValue(const std::shared_ptr<ZVBlePeripheral> &,
                             const std::shared_ptr<ZVBleCharacteristic> &,
                             const std::optional<ZVError> &error) {
  writeResults.push_back(error);
  writeResultTimes.push_back(loop.now());
}

void TestHost::didUpdateNotificationState(const std::shared_ptr<ZVBlePeripheral> &,
                                          const std::shared_ptr<ZVBleCharacteristic> &c,
                                          const std::optional<ZVError> &) {
  events.push_back("notifying " + c->uuid());
  --subscriptionsPending;
}

bool TestHost::connectAndSubscribe(ZVSimCentral &central,
                                   std::weak_ptr<ZVBlePeripheralDelegate> self) {
  if (!loop.runUntil([&] { return central.state() == ZVBleCentralStatePoweredOn; }, 1)) {
    return false;
  }
  central.scanForPeripherals(std::nullopt, false);
  if (!loop.runUntil([&] { return peripheral != nullptr; }, 1)) return false;
  central.stopScan();
  peripheral->setDelegate(std::move(self));
  central.connect(peripheral);
  if (!loop.runUntil([&] { return peripheral->state() == ZVBlePeripheralStateConnected; }, 5)) {
    return false;
  }
  peripheral->discoverServices(
      std::vector<std::string>{"49535343-FE7D-4AE5-8FA9-9FAFD205E455", "180A", "FF00"});
  return loop.runUntil(
      [&] { return servicesReported && servicesPending == 0 && subscriptionsPending == 0; }, 5);
}

void TestHost::writeInChunks(const ZVData &data, size_t chunk, int64_t type) {
  const std::string uuid =
      type == ZVBleWriteWithResponse ? "49535343-8841-43F4-A8D4-ECBE34729BB3" : "FF02";
  const auto target = characteristics.at(uuid);
  for (size_t at = 0; at < data.size(); at += chunk) {
    const size_t end = std::min(data.size(), at + chunk);
    const size_t answered = writeResults.size();
    peripheral->writeValue(ZVData(data.begin() + static_cast<std::ptrdiff_t>(at),
                                  data.begin() + static_cast<std::ptrdiff_t>(end)),
                           target, type);
    if (type == ZVBleWriteWithResponse) {
      if (!loop.runUntil([&] { return writeResults.size() > answered; }, 1)) return;
    }
  }
}

ZVData TestHost::received(const std::string &uuid) const {
  ZVData all;
  for (const auto &n : notifications) {
    if (n.uuid == uuid) all.insert(all.end(), n.value.begin(), n.value.end());
  }
  return all;
}

} // namespace zvtest
