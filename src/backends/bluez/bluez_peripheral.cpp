#include "backends/bluez/bluez_peripheral.h"

#include "backends/bluez/bearer_config.h"
#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"

#include <algorithm>

namespace zv::detail {

BluezPeripheral::BluezPeripheral(std::string address, std::string path,
                                 std::weak_ptr<ZVBluezCentral::Impl> central,
                                 std::shared_ptr<BluezBus> bus, ZVRunLoop &loop)
    : address_(std::move(address)), path_(std::move(path)), central_(std::move(central)),
      bus_(std::move(bus)), loop_(loop) {}

std::shared_ptr<BluezPeripheral> BluezPeripheral::self() {
  return std::static_pointer_cast<BluezPeripheral>(shared_from_this());
}

uint64_t BluezPeripheral::beginAttempt() {
  return ++attempt_;
}

void BluezPeripheral::callDelegate(const std::function<void(ZVBlePeripheralDelegate &)> &call) {
  if (auto delegate = this->delegate()) call(*delegate);
}

void BluezPeripheral::onLink(uint64_t link, std::function<void(BluezPeripheral &)> block) {
  postOnLink(loop_, weak_from_this(), link, std::move(block));
}

void BluezPeripheral::postOnLink(ZVRunLoop &loop, std::weak_ptr<ZVBlePeripheral> weak,
                                 uint64_t link, std::function<void(BluezPeripheral &)> block) {
  loop.post([weak = std::move(weak), link, block = std::move(block)] {
    auto strong = weak.lock();
    if (!strong) return;
    auto &self = static_cast<BluezPeripheral &>(*strong);
    if (self.link_.load() == link && self.state() == ZVBlePeripheralStateConnected) block(self);
  });
}

void BluezPeripheral::linkOpened() {
  ++link_;
  pendingDiscovery_.reset();
  orderedLink_.reset();
  {
    std::lock_guard lock(orderedMutex_);
    orderedQueue_.clear();
    orderedInFlight_ = false;
  }
  services_.clear();
  servicesByPath_.clear();
  std::lock_guard lock(channelsMutex_);
  channels_.clear();
}

void BluezPeripheral::linkClosed() {
  ++link_;
  pendingDiscovery_.reset();
  orderedLink_.reset();
  {
    std::lock_guard lock(orderedMutex_);
    orderedQueue_.clear();
    orderedInFlight_ = false;
  }
  std::vector<Channel> closed;
  {
    std::lock_guard lock(channelsMutex_);
    closed.swap(channels_);
  }
  for (auto &channel : closed) {
    if (channel.socket) channel.socket->close();
    channel.characteristic->setNotifying(false);
  }
}

void BluezPeripheral::discoverServices(const std::optional<std::vector<std::string>> &uuids) {
  if (state() != ZVBlePeripheralStateConnected) return;
  pendingDiscovery_ = uuids;
  auto c = central();
  const auto *device = c ? c->properties(path_, bluez::kDevice) : nullptr;
  if (device && boolProperty(*device, "ServicesResolved").value_or(false)) {
    onLink(link_.load(), [](BluezPeripheral &self) { self.collectServices(); });
  }
  // Otherwise servicesResolved() finishes the discovery when BlueZ has it.
}

void BluezPeripheral::servicesResolved() {
  if (pendingDiscovery_) collectServices();
}

void BluezPeripheral::collectServices() {
  auto c = central();
  if (!c || !pendingDiscovery_) return;
  const auto wanted = *pendingDiscovery_;
  pendingDiscovery_.reset();
  for (const auto &[path, interfaces] : c->objects) {
    const auto found = interfaces.find(bluez::kService1);
    if (found == interfaces.end() || servicesByPath_.contains(path)) continue;
    const auto &properties = found->second;
    if (stringProperty(properties, "Device").value_or("") != path_) continue;
    if (!boolProperty(properties, "Primary").value_or(true)) continue;
    auto service = std::make_shared<ZVBleService>(stringProperty(properties, "UUID").value_or(""));
    if (wanted && std::none_of(wanted->begin(), wanted->end(), [&](const auto &uuid) {
          return ZVBleUUIDString(uuid) == service->uuid();
        })) {
      continue;
    }
    servicesByPath_.emplace(path, service);
    services_.push_back(service);
  }
  auto shared = self();
  callDelegate([&](ZVBlePeripheralDelegate &d) { d.didDiscoverServices(shared, std::nullopt); });
}

std::string BluezPeripheral::servicePath(const std::shared_ptr<ZVBleService> &service) const {
  for (const auto &[path, known] : servicesByPath_) {
    if (known == service) return path;
  }
  return "";
}

void BluezPeripheral::discoverCharacteristics(const std::optional<std::vector<std::string>> &uuids,
                                              const std::shared_ptr<ZVBleService> &service) {
  if (state() != ZVBlePeripheralStateConnected) return;
  auto c = central();
  const std::string parent = servicePath(service);
  if (!c || parent.empty()) return;
  std::vector<std::shared_ptr<ZVBleCharacteristic>> characteristics = service->characteristics();
  std::vector<Channel> fresh;
  for (const auto &[path, interfaces] : c->objects) {
    const auto found = interfaces.find(bluez::kCharacteristic);
    if (found == interfaces.end()) continue;
    const auto &properties = found->second;
    if (stringProperty(properties, "Service").value_or("") != parent) continue;
    const std::string uuid = ZVBleUUIDString(stringProperty(properties, "UUID").value_or(""));
    if (uuids && std::none_of(uuids->begin(), uuids->end(),
                              [&](const auto &u) { return ZVBleUUIDString(u) == uuid; })) {
      continue;
    }
    if (service->characteristic(uuid)) continue; // found by an earlier discovery
    Channel channel;
    channel.path = path;
    channel.characteristic = std::make_shared<ZVBleCharacteristic>(
        uuid, characteristicProperties(stringsProperty(properties, "Flags")), service);
    // BlueZ lists WriteAcquired only for characteristics it can hand a socket for.
    if (properties.contains("WriteAcquired") &&
        (channel.characteristic->properties() & ZVBleCharacteristicPropertyWriteWithoutResponse)) {
      channel.acquirable = true;
    }
    characteristics.push_back(channel.characteristic);
    fresh.push_back(std::move(channel));
  }
  service->setCharacteristics(std::move(characteristics));
  const bool unacknowledged = std::any_of(fresh.begin(), fresh.end(), [](const Channel &ch) {
    return ch.characteristic->properties() & ZVBleCharacteristicPropertyWriteWithoutResponse;
  });
  if (!unacknowledged) {
    acquireWrites(std::move(fresh), service);
    return;
  }
  // No socket is acquired before the order is settled: an open AcquireWrite
  // socket makes BlueZ refuse every WriteValue ("Write acquired").
  decideWriteOrder(
      [fresh = std::move(fresh), service](BluezPeripheral &self, bool ordered) mutable {
        for (auto &channel : fresh) {
          if (!(channel.characteristic->properties() &
                ZVBleCharacteristicPropertyWriteWithoutResponse)) {
            continue;
          }
          channel.ordered = ordered;
          if (ordered) channel.acquirable = false;
        }
        self.acquireWrites(std::move(fresh), service);
      });
}

void BluezPeripheral::readValue(const std::shared_ptr<ZVBleCharacteristic> &characteristic) {
  if (state() != ZVBlePeripheralStateConnected) return;
  const auto found = channel(characteristic);
  if (!found) return;
  std::weak_ptr<ZVBlePeripheral> weak = weak_from_this();
  ZVRunLoop *loop = &loop_;
  const uint64_t link = link_.load();
  bus_->call(
      found->path, bluez::kCharacteristic, "ReadValue",
      [](sdbus::MethodCall &call) { call << std::map<std::string, sdbus::Variant>{}; },
      [loop, weak, link, characteristic](sdbus::MethodReply &reply, const sdbus::Error *error) {
        std::optional<ZVError> failure;
        ZVData value;
        if (error) {
          failure = bluezError(*error);
        } else {
          try {
            reply >> value;
          } catch (const sdbus::Error &e) {
            failure = bluezError(e);
          }
        }
        postOnLink(*loop, weak, link, [characteristic, failure, value](BluezPeripheral &self) {
          if (!failure) characteristic->setValue(value);
          auto shared = self.self();
          self.callDelegate([&](ZVBlePeripheralDelegate &d) {
            d.didUpdateValue(shared, characteristic, failure);
          });
        });
      });
}

void BluezPeripheral::setNotifyValue(bool enabled,
                                     const std::shared_ptr<ZVBleCharacteristic> &characteristic) {
  if (state() != ZVBlePeripheralStateConnected) return;
  std::string path;
  {
    std::lock_guard lock(channelsMutex_);
    for (auto &channel : channels_) {
      if (channel.characteristic != characteristic) continue;
      // Values may arrive before StartNotify's reply: accept them from now.
      channel.notifyRequested = enabled;
      path = channel.path;
    }
  }
  if (path.empty()) return;
  std::weak_ptr<ZVBlePeripheral> weak = weak_from_this();
  ZVRunLoop *loop = &loop_;
  const uint64_t link = link_.load();
  bus_->call(
      path, bluez::kCharacteristic, enabled ? "StartNotify" : "StopNotify", {},
      [loop, weak, link, enabled, characteristic](sdbus::MethodReply &, const sdbus::Error *error) {
        std::optional<ZVError> failure;
        if (error) failure = bluezError(*error);
        postOnLink(*loop, weak, link, [characteristic, failure, enabled](BluezPeripheral &self) {
          if (!failure) characteristic->setNotifying(enabled);
          if (failure && enabled) {
            std::lock_guard lock(self.channelsMutex_);
            for (auto &channel : self.channels_) {
              if (channel.characteristic == characteristic) {
                channel.notifyRequested = false;
              }
            }
          }
          auto shared = self.self();
          self.callDelegate([&](ZVBlePeripheralDelegate &d) {
            d.didUpdateNotificationState(shared, characteristic, failure);
          });
        });
      });
}

void BluezPeripheral::valueChanged(const std::string &path, ZVData value) {
  if (state() != ZVBlePeripheralStateConnected) return;
  std::shared_ptr<ZVBleCharacteristic> characteristic;
  {
    std::lock_guard lock(channelsMutex_);
    for (const auto &channel : channels_) {
      if (channel.path == path && channel.notifyRequested) characteristic = channel.characteristic;
    }
  }
  if (!characteristic) return;
  characteristic->setValue(std::move(value));
  auto shared = self();
  callDelegate(
      [&](ZVBlePeripheralDelegate &d) { d.didUpdateValue(shared, characteristic, std::nullopt); });
}

void BluezPeripheral::readRSSI() {
  if (state() != ZVBlePeripheralStateConnected) return;
  auto c = central();
  const auto *device = c ? c->properties(path_, bluez::kDevice) : nullptr;
  const auto rssi = device ? intProperty(*device, "RSSI") : std::nullopt;
  std::optional<ZVError> failure;
  if (!rssi) failure = bluezError(ZVBluezErrorNotReady, "BlueZ reports no RSSI for " + address_);
  onLink(link_.load(), [value = rssi.value_or(127), failure](BluezPeripheral &self) {
    auto shared = self.self();
    self.callDelegate([&](ZVBlePeripheralDelegate &d) { d.didReadRSSI(shared, value, failure); });
  });
}

} // namespace zv::detail
