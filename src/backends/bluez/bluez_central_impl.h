#pragma once

// The state of a ZVBluezCentral: a mirror of org.bluez's objects, the chosen
// adapter, the scan and the peripherals. Lives on the main queue; the bus
// thread only converts messages and posts them here.

#include "backends/bluez/bluez_bus.h"
#include "backends/bluez/bluez_values.h"

#include <zvprinter/ZVBluezCentral.h>
#include <zvprinter/ZVRunLoop.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zv::detail {
class BluezPeripheral;
}

struct ZVBluezCentral::Impl : std::enable_shared_from_this<ZVBluezCentral::Impl> {
  using Peripheral = zv::detail::BluezPeripheral;
  using Objects = std::map<std::string, zv::detail::BluezInterfaces>;

  Impl(ZVBluezCentral &owner, ZVBluezOptions options, ZVRunLoop &loop);
  ~Impl();

  /// Subscribes to BlueZ's signals and asks for its objects.
  void start();
  /// Asks BlueZ for its whole object tree (GetManagedObjects).
  void requestObjects();
  /// Runs @p block on the main queue while this central lives.
  void post(std::function<void(Impl &)> block);
  /// The same from the bus thread: the central is only locked on the main
  /// queue, so its last reference can never be dropped on the bus thread
  /// (whose own destruction would then have to join itself).
  static void postTo(ZVRunLoop &loop, std::weak_ptr<Impl> weak, std::function<void(Impl &)> block);

  // Events from the bus, on the main queue.
  void loadObjects(Objects objects);
  void busUnavailable(ZVBluezProbe::Status status, std::string detail);
  void interfacesAdded(const std::string &path, zv::detail::BluezInterfaces interfaces);
  void interfacesRemoved(const std::string &path, const std::vector<std::string> &names);
  void propertiesChanged(const std::string &path, const std::string &interface,
                         zv::detail::BluezProperties changed,
                         const std::vector<std::string> &invalidated);
  void bluezVanished();

  // Adapter and state.
  void chooseAdapter();
  void updateState();
  const zv::detail::BluezProperties *properties(const std::string &path,
                                                const char *interface) const;
  bool isOwnDevice(const std::string &path) const;

  // Scanning (bluez_central_scan.cpp).
  void startDiscovery();
  void reportDevice(const std::string &path);

  // Links.
  std::shared_ptr<Peripheral> peripheralFor(const std::string &address);
  std::shared_ptr<Peripheral> peripheralAt(const std::string &devicePath);
  std::shared_ptr<Peripheral> own(const std::shared_ptr<ZVBlePeripheral> &peripheral) const;
  void connectReplied(const std::string &address, uint64_t attempt, std::optional<ZVError> error);
  void connectedChanged(Peripheral &peripheral, bool connected);
  void openLink(Peripheral &peripheral);
  /// Ends the link of @p peripheral and reports it (with @p error unless orderly).
  void closeLink(Peripheral &peripheral, std::optional<ZVError> error);
  /// Closes the link at BlueZ and reports it lost with @p error.
  void dropLink(Peripheral &peripheral, ZVError error);
  /// Ends every link and attempt without reports (adapter off or gone).
  void forgetLinks();

  void callDelegate(const std::function<void(ZVBleCentralDelegate &)> &call);

  ZVBluezCentral &owner;
  ZVBluezOptions options;
  ZVRunLoop &loop;
  std::shared_ptr<zv::detail::BluezBus> bus;
  Objects objects;
  std::string adapterPath;
  int64_t state = ZVBleCentralStateUnknown;
  bool stateReported = false;
  std::string reason;
  ZVBluezProbe::Status busStatus = ZVBluezProbe::Status::Ready;
  std::string busDetail;

  bool scanning = false;
  bool discoveryStarted = false; // StartDiscovery sent for the current scan
  bool allowDuplicates = false;
  std::optional<std::vector<std::string>> scanFilter;
  struct Reported {
    std::optional<std::string> name;
    std::optional<ZVData> manufacturerData;
    std::vector<std::string> uuids;
    bool operator==(const Reported &) const = default;
  };
  std::map<std::string, Reported> reported; // by address, during one scan

  std::map<std::string, std::shared_ptr<Peripheral>> peripherals; // by address, never removed
};
