// The synchronous availability check behind the command line's
// "--backend auto" and its advice when BlueZ cannot be used.

#include "backends/bluez/bluez_bus.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_values.h"

#include <zvprinter/ZVBluezCentral.h>

namespace bluez = zv::detail::bluez;
using Status = ZVBluezProbe::Status;

ZVBluezProbe ZVBluezCentral::probe(const ZVBluezOptions &options) {
  ZVBluezProbe result;
  try {
    auto bus = zv::detail::BluezBus::open(options.busAddress);
    auto reply =
        bus->callSync(bluez::kRootPath, bluez::kObjectManager, "GetManagedObjects", {}, 3.0);
    std::map<sdbus::ObjectPath, std::map<std::string, std::map<std::string, sdbus::Variant>>> raw;
    reply >> raw;
    std::string first;
    std::string powered;
    for (const auto &[path, interfaces] : raw) {
      const auto adapter = interfaces.find(bluez::kAdapter);
      if (adapter == interfaces.end()) continue;
      const std::string name = std::string(path).substr(std::string(path).rfind('/') + 1);
      if (!options.adapter.empty() && name != options.adapter) continue;
      if (first.empty()) first = name;
      const auto properties = zv::detail::toBluezProperties(adapter->second);
      if (powered.empty() && zv::detail::boolProperty(properties, "Powered").value_or(false)) {
        powered = name;
      }
    }
    result.adapter = powered.empty() ? first : powered;
    result.status = result.adapter.empty() ? Status::NoAdapter
                                           : (powered.empty() ? Status::AdapterOff : Status::Ready);
    result.message = zv::detail::adviceFor(
        result.status, result.adapter.empty() ? options.adapter : result.adapter, "");
  } catch (const sdbus::Error &error) {
    result.status = zv::detail::statusOfBusError(error.getName());
    result.message = zv::detail::adviceFor(result.status, options.adapter,
                                           zv::detail::bluezError(error).localizedDescription);
  }
  return result;
}
