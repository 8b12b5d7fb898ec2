// The GATT side of the fake org.bluez: characteristics, the printer behind
// them, and the acquired write sockets.

#include "bluez/fake_bluez_service.h"

#include <zvprinter/ZVBleService.h>

#include <algorithm>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zv::test {

void FakeBluez::Service::buildCharacteristic(const std::string &servicePath,
                                             const std::string &path, const std::string &uuid,
                                             const std::vector<std::string> &flags) {
  const std::string key = ZVBleUUIDString(uuid);
  auto &entry = characteristics[key];
  entry.uuid = key;
  entry.flags = flags;
  entry.object = sdbus::createObject(*connection, path);
  auto &object = *entry.object;
  object.registerProperty("UUID").onInterface(kCharacteristic).withGetter([uuid] {
    return longUUID(uuid);
  });
  object.registerProperty("Service").onInterface(kCharacteristic).withGetter([servicePath] {
    return sdbus::ObjectPath(servicePath);
  });
  object.registerProperty("Flags").onInterface(kCharacteristic).withGetter([flags] {
    return flags;
  });
  object.registerProperty("Value").onInterface(kCharacteristic).withGetter([this, key] {
    return characteristics[key].value;
  });
  object.registerProperty("Notifying").onInterface(kCharacteristic).withGetter([this, key] {
    return characteristics[key].notifying;
  });
  object.registerMethod("ReadValue")
      .onInterface(kCharacteristic)
      .implementedAs([this, key](const Options &) { return characteristics[key].value; });
  object.registerMethod("WriteValue")
      .onInterface(kCharacteristic)
      .implementedAs([this, key](const std::vector<uint8_t> &value, const Options &options) {
        if (!connected) throw sdbus::Error("org.bluez.Error.Failed", "Not connected");
        if (owner.refuseWrites_.load()) {
          throw sdbus::Error("org.bluez.Error.Failed", "Operation failed with ATT error: 0x80");
        }
        if (key != ZVBleUUIDString(dataIn)) {
          throw sdbus::Error("org.bluez.Error.NotPermitted", "Write not permitted");
        }
        ++owner.busWrites_;
        const auto type = options.find("type");
        if (type != options.end() && type->second.get<std::string>() == "request") {
          ++owner.requestWrites_;
          flushBearers();
          deliver(value);
        } else {
          deliverUnacknowledged(value);
        }
      });
  object.registerMethod("StartNotify").onInterface(kCharacteristic).implementedAs([this, key] {
    auto &c = characteristics[key];
    c.notifying = true;
    // A fresh subscription to the flow-control characteristic announces the
    // chunk size and grants the first credits, as the IVT module does.
    if (key == "FF03") {
      const uint16_t chunk = owner.config_.chunkSize;
      notify("FF03", {0x02, static_cast<uint8_t>(chunk & 0xFF), static_cast<uint8_t>(chunk >> 8)});
      notify("FF03", {0x01, owner.config_.credits});
      writesSinceGrant = 0;
    }
  });
  object.registerMethod("StopNotify").onInterface(kCharacteristic).implementedAs([this, key] {
    characteristics[key].notifying = false;
  });
  const bool acquirable =
      owner.config_.acquireWrite && key == ZVBleUUIDString(dataIn) &&
      std::find(flags.begin(), flags.end(), "write-without-response") != flags.end();
  if (acquirable) {
    object.registerProperty("WriteAcquired").onInterface(kCharacteristic).withGetter([] {
      return false;
    });
    object.registerProperty("MTU").onInterface(kCharacteristic).withGetter([this] {
      return owner.config_.mtu;
    });
    object.registerMethod("AcquireWrite")
        .onInterface(kCharacteristic)
        .implementedAs([this](const Options &) {
          if (!connected) throw sdbus::Error("org.bluez.Error.Failed", "Not connected");
          int fds[2];
          if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, fds) != 0) {
            throw sdbus::Error("org.bluez.Error.Failed", "socketpair failed");
          }
          sockets.push_back(fds[0]);
          return std::make_tuple(sdbus::UnixFd(fds[1], sdbus::adopt_fd), owner.config_.mtu);
        });
  }
  object.finishRegistration();
  object.emitInterfacesAddedSignal();
}

void FakeBluez::Service::setConnected(bool on) {
  if (connected == on) return;
  connected = on;
  if (!on) {
    for (int fd : sockets)
      ::close(fd);
    sockets.clear();
    inFlight.clear();
    for (auto &[key, c] : characteristics)
      c.notifying = false;
    notifications.clear();
  }
  device->emitPropertiesChangedSignal(kDevice, {"Connected"});
  device->emitPropertiesChangedSignal(kDevice, {"ServicesResolved"});
}

void FakeBluez::Service::deliver(const std::vector<uint8_t> &bytes) {
  for (auto &reply : owner.printer_->receive(bytes))
    notify(ZVBleUUIDString(dataOut), reply);
  lastData = Clock::now();
  if (owner.config_.profile == ZVVirtualPrinterProfile::IVT &&
      ++writesSinceGrant == owner.config_.credits) {
    writesSinceGrant = 0;
    notify("FF03", {0x01, owner.config_.credits});
  }
}

void FakeBluez::Service::deliverUnacknowledged(std::vector<uint8_t> bytes) {
  const unsigned bearers = std::max(1u, owner.config_.bearers);
  inFlight.push_back(std::move(bytes));
  if (inFlight.size() < bearers) return;
  for (auto it = inFlight.rbegin(); it != inFlight.rend(); ++it)
    deliver(*it);
  inFlight.clear();
}

void FakeBluez::Service::flushBearers() {
  for (const auto &bytes : inFlight)
    deliver(bytes);
  inFlight.clear();
}

void FakeBluez::Service::flushNotifications() {
  while (!notifications.empty()) {
    auto [key, value] = std::move(notifications.front());
    notifications.pop_front();
    auto &c = characteristics[key];
    if (!c.notifying || !connected) continue;
    c.value = std::move(value);
    c.object->emitPropertiesChangedSignal(kCharacteristic, {"Value"});
  }
}

void FakeBluez::Service::finishIdleJob() {
  if (!lastData) return;
  const auto idle = std::chrono::duration<double>(Clock::now() - *lastData).count();
  if (idle < owner.config_.printFinishDelay) return;
  lastData.reset();
  for (auto &reply : owner.printer_->endOfInput())
    notify(ZVBleUUIDString(dataOut), reply);
}

void FakeBluez::Service::readSockets() {
  uint8_t buffer[1024];
  for (auto it = sockets.begin(); it != sockets.end();) {
    const ssize_t got = ::recv(*it, buffer, sizeof buffer, MSG_DONTWAIT);
    if (got > 0) {
      ++owner.socketWrites_;
      deliverUnacknowledged(std::vector<uint8_t>(buffer, buffer + got));
      continue; // drain this socket before moving on
    }
    if (got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
      ::close(*it);
      it = sockets.erase(it);
      continue;
    }
    ++it;
  }
}

} // namespace zv::test
