// Scanning: BlueZ's discovery, and the devices it finds reported as
// advertisements.

#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_peripheral.h"

#include "platform/log.h"

#include <zvprinter/ZVBleService.h>

#include <algorithm>

namespace bluez = zv::detail::bluez;

namespace {

// BlueZ's discovery filter wants full 128-bit UUIDs.
std::string fullUUID(const std::string &uuid) {
  std::string canonical = ZVBleUUIDString(uuid);
  if (canonical.size() == 4) canonical = "0000" + canonical + "-0000-1000-8000-00805F9B34FB";
  return canonical;
}

void logFailure(const char *what, const sdbus::Error *error) {
  if (error) zv::detail::logLine(std::string("bluez: ") + what + " failed: " + error->getName());
}

} // namespace

void ZVBluezCentral::scanForPeripherals(const std::optional<std::vector<std::string>> &serviceUUIDs,
                                        bool allowDuplicates) {
  if (impl_->state != ZVBleCentralStatePoweredOn) return;
  impl_->scanning = true;
  impl_->allowDuplicates = allowDuplicates;
  impl_->scanFilter = serviceUUIDs;
  impl_->reported.clear();
  impl_->startDiscovery();
  // Devices BlueZ already knows are reported like fresh advertisements.
  std::vector<std::string> known;
  for (const auto &[path, interfaces] : impl_->objects) {
    if (interfaces.contains(bluez::kDevice) && impl_->isOwnDevice(path)) known.push_back(path);
  }
  impl_->post([known](Impl &self) {
    for (const auto &path : known)
      self.reportDevice(path);
  });
}

void ZVBluezCentral::stopScan() {
  if (!impl_->scanning) return;
  impl_->scanning = false;
  // Only a discovery we started is stopped (BlueZ answers a stop without a
  // start with org.bluez.Error.Failed).
  if (impl_->discoveryStarted && impl_->bus && !impl_->adapterPath.empty()) {
    impl_->discoveryStarted = false;
    impl_->bus->call(
        impl_->adapterPath, bluez::kAdapter, "StopDiscovery", {},
        [](sdbus::MethodReply &, const sdbus::Error *e) { logFailure("StopDiscovery", e); });
  }
}

void ZVBluezCentral::Impl::startDiscovery() {
  std::map<std::string, sdbus::Variant> filter{
      {"Transport", sdbus::Variant(std::string("le"))},
      {"DuplicateData", sdbus::Variant(false)},
  };
  if (scanFilter && !scanFilter->empty()) {
    std::vector<std::string> uuids;
    for (const auto &uuid : *scanFilter)
      uuids.push_back(fullUUID(uuid));
    filter.emplace("UUIDs", sdbus::Variant(uuids));
  }
  const std::string adapter = adapterPath;
  ZVRunLoop *queue = &loop;
  bus->call(
      adapter, bluez::kAdapter, "SetDiscoveryFilter",
      [filter](sdbus::MethodCall &call) { call << filter; },
      [queue, weak = weak_from_this(), adapter](sdbus::MethodReply &, const sdbus::Error *error) {
        logFailure("SetDiscoveryFilter", error);
        // Started after the filter is in place, so the first results obey it.
        postTo(*queue, weak, [adapter](Impl &self) {
          if (!self.scanning || self.adapterPath != adapter) return;
          self.discoveryStarted = true;
          self.bus->call(
              adapter, bluez::kAdapter, "StartDiscovery", {},
              [](sdbus::MethodReply &, const sdbus::Error *e) { logFailure("StartDiscovery", e); });
        });
      });
}

void ZVBluezCentral::Impl::reportDevice(const std::string &path) {
  if (!scanning) return;
  const auto *device = properties(path, bluez::kDevice);
  if (!device) return;
  const auto address =
      zv::detail::canonicalAddress(zv::detail::stringProperty(*device, "Address").value_or(""));
  if (!address) return;

  Reported seen{zv::detail::deviceName(*device), zv::detail::manufacturerData(*device), {}};
  for (const auto &uuid : zv::detail::stringsProperty(*device, "UUIDs")) {
    seen.uuids.push_back(ZVBleUUIDString(uuid));
  }
  if (scanFilter && !scanFilter->empty()) {
    const bool wanted = std::any_of(scanFilter->begin(), scanFilter->end(), [&](const auto &uuid) {
      return std::find(seen.uuids.begin(), seen.uuids.end(), ZVBleUUIDString(uuid)) !=
             seen.uuids.end();
    });
    if (!wanted) return;
  }
  const auto previous = reported.find(*address);
  if (!allowDuplicates && previous != reported.end() && previous->second == seen) return;
  reported[*address] = seen;

  ZVBleAdvertisement advertisement;
  advertisement.localName = seen.name;
  advertisement.manufacturerData = seen.manufacturerData;
  advertisement.isConnectable = 1; // BlueZ does not say; a failed connect tells.
  advertisement.serviceUUIDs = seen.uuids;
  const int64_t rssi = zv::detail::intProperty(*device, "RSSI").value_or(127);
  auto peripheral = peripheralFor(*address);
  callDelegate([&](ZVBleCentralDelegate &d) {
    d.didDiscoverPeripheral(owner, peripheral, advertisement, rssi);
  });
}
