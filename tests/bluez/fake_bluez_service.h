#pragma once

// The D-Bus objects of the fake org.bluez (see fake_bluez.h). Used only on
// the fake's own thread.

#include "bluez/fake_bluez.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cctype>
#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zv::test {

namespace fake {

constexpr const char *kAdapter = "org.bluez.Adapter1";
constexpr const char *kDevice = "org.bluez.Device1";
constexpr const char *kService = "org.bluez.GattService1";
constexpr const char *kCharacteristic = "org.bluez.GattCharacteristic1";
constexpr const char *kAdapterPath = "/org/bluez/hci0";

using Clock = std::chrono::steady_clock;
using Options = std::map<std::string, sdbus::Variant>;

inline std::string longUUID(const std::string &shortOrLong) {
  std::string uuid =
      shortOrLong.size() == 4 ? "0000" + shortOrLong + "-0000-1000-8000-00805F9B34FB" : shortOrLong;
  for (auto &c : uuid)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return uuid; // BlueZ spells UUIDs in lower case
}

} // namespace fake

using namespace fake;

struct FakeBluez::Service {
  struct Characteristic {
    std::string uuid;
    std::vector<std::string> flags;
    std::unique_ptr<sdbus::IObject> object;
    std::vector<uint8_t> value;
    bool notifying = false;
  };

  FakeBluez &owner;
  std::unique_ptr<sdbus::IConnection> connection;
  std::unique_ptr<sdbus::IObject> root, adapter, device;
  std::vector<std::unique_ptr<sdbus::IObject>> services;
  std::map<std::string, Characteristic> characteristics; // by short upper-case uuid
  std::string devicePath;
  std::string dataIn, dataOut; // uuids of the printer's data characteristics
  bool connected = false;
  std::vector<int> sockets; // our ends of acquired write sockets
  std::deque<std::pair<std::string, std::vector<uint8_t>>> notifications;
  uint32_t writesSinceGrant = 0;
  std::optional<Clock::time_point> lastData;
  std::vector<std::vector<uint8_t>> inFlight; // unacknowledged writes on their bearers

  explicit Service(FakeBluez &fake, const std::string &address) : owner(fake) {
    connection = sdbus::createSessionBusConnectionWithAddress(address);
    connection->requestName("org.bluez");
    root = sdbus::createObject(*connection, "/");
    root->addObjectManager();
    root->finishRegistration();
    buildAdapter();
    buildDevice();
    if (owner.config_.profile == ZVVirtualPrinterProfile::ISSC) {
      dataIn = "49535343-8841-43F4-A8D4-ECBE34729BB3";
      dataOut = "49535343-1E4D-4BD9-BA61-23C647249616";
      buildService("0001", "49535343-FE7D-4AE5-8FA9-9FAFD205E455",
                   {{dataOut, {"notify"}}, {dataIn, {"write"}}});
    } else {
      dataIn = "FF02";
      dataOut = "FF01";
      buildService("0001", "FF00",
                   {{"FF01", {"notify"}},
                    {"FF02", {"write-without-response", "write"}},
                    {"FF03", {"notify"}}});
    }
    buildService("0010", "180A", {{"2A24", {"read"}}});
    characteristics["2A24"].value.assign(owner.config_.name.begin(), owner.config_.name.end());
    if (owner.config_.serverFeatures) {
      buildService("0020", "1801", {{"2B3A", {"read"}}});
      characteristics["2B3A"].value = {*owner.config_.serverFeatures};
    }
  }

  ~Service() {
    for (int fd : sockets)
      ::close(fd);
  }

  void buildAdapter() {
    adapter = sdbus::createObject(*connection, kAdapterPath);
    adapter->registerProperty("Address").onInterface(kAdapter).withGetter(
        [] { return std::string("00:AA:01:00:00:00"); });
    adapter->registerProperty("Powered").onInterface(kAdapter).withGetter([] { return true; });
    adapter->registerMethod("SetDiscoveryFilter")
        .onInterface(kAdapter)
        .implementedAs([this](const Options &filter) {
          std::lock_guard lock(owner.transportMutex_);
          const auto transport = filter.find("Transport");
          owner.transport_ =
              transport == filter.end() ? "(none)" : transport->second.get<std::string>();
        });
    adapter->registerMethod("StartDiscovery").onInterface(kAdapter).implementedAs([] {});
    adapter->registerMethod("StopDiscovery").onInterface(kAdapter).implementedAs([] {});
    adapter->finishRegistration();
    adapter->emitInterfacesAddedSignal();
  }

  void buildDevice() {
    std::string suffix = owner.config_.address;
    for (auto &c : suffix)
      c = c == ':' ? '_' : c;
    devicePath = std::string(kAdapterPath) + "/dev_" + suffix;
    device = sdbus::createObject(*connection, devicePath);
    const auto &config = owner.config_;
    device->registerProperty("Address").onInterface(kDevice).withGetter(
        [&config] { return config.address; });
    device->registerProperty("Name").onInterface(kDevice).withGetter(
        [&config] { return config.name; });
    device->registerProperty("Alias").onInterface(kDevice).withGetter(
        [&config] { return config.name; });
    device->registerProperty("Adapter").onInterface(kDevice).withGetter(
        [] { return sdbus::ObjectPath(kAdapterPath); });
    device->registerProperty("RSSI").onInterface(kDevice).withGetter([] { return int16_t{-60}; });
    device->registerProperty("ManufacturerData").onInterface(kDevice).withGetter([] {
      return std::map<uint16_t, sdbus::Variant>{
          {0x0D9A, sdbus::Variant(std::vector<uint8_t>{0x00, 0xAA, 0x01, 0x01, 0x00, 0x01})}};
    });
    device->registerProperty("Connected").onInterface(kDevice).withGetter([this] {
      return connected;
    });
    device->registerProperty("ServicesResolved").onInterface(kDevice).withGetter([this] {
      return connected;
    });
    device->registerMethod("Connect").onInterface(kDevice).implementedAs(
        [this] { setConnected(true); });
    device->registerMethod("Disconnect").onInterface(kDevice).implementedAs([this] {
      setConnected(false);
    });
    device->finishRegistration();
    device->emitInterfacesAddedSignal();
  }

  void buildService(const std::string &number, const std::string &uuid,
                    std::vector<std::pair<std::string, std::vector<std::string>>> members) {
    const std::string path = devicePath + "/service" + number;
    auto service = sdbus::createObject(*connection, path);
    service->registerProperty("UUID").onInterface(kService).withGetter(
        [uuid] { return longUUID(uuid); });
    service->registerProperty("Device").onInterface(kService).withGetter(
        [this] { return sdbus::ObjectPath(devicePath); });
    service->registerProperty("Primary").onInterface(kService).withGetter([] { return true; });
    service->finishRegistration();
    service->emitInterfacesAddedSignal();
    services.push_back(std::move(service));
    int index = 0;
    for (auto &[member, flags] : members) {
      buildCharacteristic(path, path + "/char00" + std::to_string(10 + index++), member, flags);
    }
  }

  void buildCharacteristic(const std::string &servicePath, const std::string &path,
                           const std::string &uuid, const std::vector<std::string> &flags);
  void setConnected(bool on);
  void deliver(const std::vector<uint8_t> &bytes);
  /// A write without response: with several bearers it may be overtaken.
  void deliverUnacknowledged(std::vector<uint8_t> bytes);
  /// Hands the printer what the bearers still hold, in the order sent.
  void flushBearers();
  void notify(const std::string &uuid, std::vector<uint8_t> value) {
    notifications.emplace_back(uuid, std::move(value));
  }
  void flushNotifications();
  void finishIdleJob();
  void readSockets();
};

} // namespace zv::test
