// The central's mirror of BlueZ's objects, the choice of adapter and the
// state it gives, on the main queue.

#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_peripheral.h"

#include <algorithm>

namespace bluez = zv::detail::bluez;
using zv::detail::BluezProperties;
using Status = ZVBluezProbe::Status;

void ZVBluezCentral::Impl::loadObjects(Objects loaded) {
  busStatus = Status::Ready;
  busDetail.clear();
  objects = std::move(loaded);
  chooseAdapter();
  updateState();
}

void ZVBluezCentral::Impl::busUnavailable(Status status, std::string detail) {
  busStatus = status;
  busDetail = std::move(detail);
  objects.clear();
  adapterPath.clear();
  updateState();
}

void ZVBluezCentral::Impl::bluezVanished() {
  // bluetoothd went away (or restarted): every link it carried is gone.
  for (auto &[address, p] : peripherals) {
    if (p->state() == ZVBlePeripheralStateConnected) {
      closeLink(
          *p, zv::detail::bluezError(ZVBluezErrorLinkLost, "bluetoothd left the bus; the link to " +
                                                               address + " is gone"));
    }
  }
  busUnavailable(Status::NoBluez, "");
}

const BluezProperties *ZVBluezCentral::Impl::properties(const std::string &path,
                                                        const char *interface) const {
  const auto object = objects.find(path);
  if (object == objects.end()) return nullptr;
  const auto found = object->second.find(interface);
  return found == object->second.end() ? nullptr : &found->second;
}

bool ZVBluezCentral::Impl::isOwnDevice(const std::string &path) const {
  return !adapterPath.empty() && path.starts_with(adapterPath + "/dev_") &&
         path.find('/', adapterPath.size() + 1) == std::string::npos;
}

void ZVBluezCentral::Impl::chooseAdapter() {
  if (!options.adapter.empty()) {
    const std::string wanted = bluez::kAdapterPathPrefix + options.adapter;
    adapterPath = properties(wanted, bluez::kAdapter) ? wanted : "";
    return;
  }
  if (!adapterPath.empty() && properties(adapterPath, bluez::kAdapter)) return;
  adapterPath.clear();
  for (const auto &[path, interfaces] : objects) { // std::map: in path order
    const auto adapter = interfaces.find(bluez::kAdapter);
    if (adapter == interfaces.end()) continue;
    if (adapterPath.empty()) adapterPath = path;
    if (zv::detail::boolProperty(adapter->second, "Powered").value_or(false)) {
      adapterPath = path;
      break;
    }
  }
}

void ZVBluezCentral::Impl::updateState() {
  Status status = busStatus;
  if (status == Status::Ready) {
    const auto *adapter = adapterPath.empty() ? nullptr : properties(adapterPath, bluez::kAdapter);
    if (!adapter) {
      status = Status::NoAdapter;
    } else if (!zv::detail::boolProperty(*adapter, "Powered").value_or(false)) {
      status = Status::AdapterOff;
    }
  }
  int64_t next = ZVBleCentralStateUnsupported;
  if (status == Status::Ready) next = ZVBleCentralStatePoweredOn;
  if (status == Status::AdapterOff) next = ZVBleCentralStatePoweredOff;
  if (status == Status::AccessDenied) next = ZVBleCentralStateUnauthorized;
  const std::string adapterName =
      adapterPath.empty() ? options.adapter : adapterPath.substr(adapterPath.rfind('/') + 1);
  reason = zv::detail::adviceFor(status, adapterName, busDetail);
  if (next == state && stateReported) return;
  if (state == ZVBleCentralStatePoweredOn && next != state) forgetLinks();
  state = next;
  stateReported = true;
  callDelegate([&](ZVBleCentralDelegate &d) { d.didUpdateState(owner); });
}

void ZVBluezCentral::Impl::interfacesAdded(const std::string &path,
                                           zv::detail::BluezInterfaces interfaces) {
  auto &object = objects[path];
  for (auto &[name, properties] : interfaces) {
    auto &target = object[name];
    for (auto &[key, value] : properties)
      target[key] = std::move(value);
  }
  if (object.contains(bluez::kAdapter)) {
    chooseAdapter();
    updateState();
  }
  if (object.contains(bluez::kDevice) && isOwnDevice(path)) reportDevice(path);
}

void ZVBluezCentral::Impl::interfacesRemoved(const std::string &path,
                                             const std::vector<std::string> &names) {
  const auto object = objects.find(path);
  if (object == objects.end()) return;
  for (const auto &name : names)
    object->second.erase(name);
  if (object->second.empty()) objects.erase(object);
  const bool adapterGone = std::find(names.begin(), names.end(), bluez::kAdapter) != names.end();
  const bool deviceGone = std::find(names.begin(), names.end(), bluez::kDevice) != names.end();
  if (deviceGone) {
    if (auto p = peripheralAt(path); p && p->state() == ZVBlePeripheralStateConnected) {
      connectedChanged(*p, false);
    }
  }
  if (adapterGone) {
    chooseAdapter();
    updateState();
  }
}

void ZVBluezCentral::Impl::propertiesChanged(const std::string &path, const std::string &interface,
                                             BluezProperties changed,
                                             const std::vector<std::string> &invalidated) {
  auto &target = objects[path][interface];
  for (const auto &name : invalidated)
    target.erase(name);
  for (const auto &[key, value] : changed)
    target[key] = value;

  if (interface == bluez::kAdapter) {
    if (changed.contains("Powered")) {
      chooseAdapter();
      updateState();
    }
    return;
  }
  if (interface == bluez::kCharacteristic) {
    auto value = zv::detail::bytesProperty(changed, "Value");
    if (!value || adapterPath.empty() || !path.starts_with(adapterPath + "/")) return;
    const auto device = path.substr(0, path.find('/', adapterPath.size() + 1));
    if (auto p = peripheralAt(device)) p->valueChanged(path, std::move(*value));
    return;
  }
  if (interface != bluez::kDevice || !isOwnDevice(path)) return;
  auto p = peripheralAt(path);
  if (p) {
    if (auto name = zv::detail::deviceName(target)) p->setName(name);
    if (auto connected = zv::detail::boolProperty(changed, "Connected")) {
      connectedChanged(*p, *connected);
    }
    if (zv::detail::boolProperty(changed, "ServicesResolved").value_or(false) &&
        p->state() == ZVBlePeripheralStateConnected) {
      p->servicesResolved();
    }
  }
  static constexpr const char *kAdvertised[] = {"RSSI", "Name", "Alias", "ManufacturerData",
                                                "UUIDs"};
  for (const char *name : kAdvertised) {
    if (changed.contains(name)) {
      reportDevice(path);
      break;
    }
  }
}
