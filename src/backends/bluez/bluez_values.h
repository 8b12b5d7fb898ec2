#pragma once

// Plain C++ copies of the BlueZ properties the backend reads, made on the bus
// thread so that nothing of sdbus-c++ crosses to the main queue, and the
// conversions from BlueZ's conventions to the port's.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace sdbus {
class Variant;
}

namespace zv::detail {

/// One property value. Types BlueZ does not use for the properties we read
/// are dropped when converting.
using BluezValue = std::variant<bool, int64_t, std::string, std::vector<std::string>, ZVData,
                                std::map<uint16_t, ZVData>>;
using BluezProperties = std::map<std::string, BluezValue>;
/// Interface name -> its properties.
using BluezInterfaces = std::map<std::string, BluezProperties>;

/// Converts a D-Bus a{sv}; values of other types than the alternatives of
/// BluezValue (or a dictionary a{qv} whose values are not byte arrays) are
/// left out, so garbage from the bus never reaches the backend.
BluezProperties toBluezProperties(const std::map<std::string, sdbus::Variant> &properties);

/// Typed reads of a property; std::nullopt when absent or of another type.
std::optional<bool> boolProperty(const BluezProperties &properties, std::string_view name);
std::optional<int64_t> intProperty(const BluezProperties &properties, std::string_view name);
std::optional<std::string> stringProperty(const BluezProperties &properties, std::string_view name);
std::vector<std::string> stringsProperty(const BluezProperties &properties, std::string_view name);
std::optional<ZVData> bytesProperty(const BluezProperties &properties, std::string_view name);

/// Name, else Alias.
std::optional<std::string> deviceName(const BluezProperties &device);
/// ManufacturerData as the port carries it: the first entry (lowest company
/// id) with its company id put back in front, little-endian. std::nullopt
/// without entries.
std::optional<ZVData> manufacturerData(const BluezProperties &device);
/// GattCharacteristic1 Flags as ZVBleCharacteristicProperty bits.
uint64_t characteristicProperties(const std::vector<std::string> &flags);

/// "aa:bb:cc:dd:ee:ff" -> "AA:BB:CC:DD:EE:FF"; std::nullopt if not an address.
std::optional<std::string> canonicalAddress(std::string_view text);
/// The object path BlueZ gives a device: "/org/bluez/hci0/dev_AA_BB_CC_DD_EE_FF".
std::string devicePath(std::string_view adapterPath, std::string_view address);

} // namespace zv::detail
