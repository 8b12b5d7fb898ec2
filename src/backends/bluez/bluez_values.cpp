#include "backends/bluez/bluez_values.h"

#include <zvprinter/ZVBleService.h>

#include <sdbus-c++/sdbus-c++.h>

#include <array>
#include <cctype>
#include <utility>

namespace zv::detail {

namespace {

template <typename T> std::optional<T> read(const sdbus::Variant &variant) {
  try {
    return variant.get<T>();
  } catch (const sdbus::Error &) {
    return std::nullopt;
  }
}

template <typename T> std::optional<BluezValue> widen(const sdbus::Variant &variant) {
  auto value = read<T>(variant);
  return value ? std::optional<BluezValue>(int64_t{*value}) : std::nullopt;
}

std::optional<BluezValue> convert(const sdbus::Variant &variant) {
  const std::string type = variant.peekValueType();
  if (type == "b") return read<bool>(variant);
  if (type == "y") return widen<uint8_t>(variant);
  if (type == "n") return widen<int16_t>(variant);
  if (type == "q") return widen<uint16_t>(variant);
  if (type == "i") return widen<int32_t>(variant);
  if (type == "u") return widen<uint32_t>(variant);
  if (type == "x") return read<int64_t>(variant);
  if (type == "s") return read<std::string>(variant);
  if (type == "o") {
    auto path = read<sdbus::ObjectPath>(variant);
    return path ? std::optional<BluezValue>(std::string(*path)) : std::nullopt;
  }
  if (type == "as") return read<std::vector<std::string>>(variant);
  if (type == "ay") return read<std::vector<uint8_t>>(variant);
  if (type == "a{qv}") {
    auto entries = read<std::map<uint16_t, sdbus::Variant>>(variant);
    if (!entries) return std::nullopt;
    std::map<uint16_t, ZVData> bytes;
    for (const auto &[company, value] : *entries) {
      if (value.peekValueType() != "ay") return std::nullopt;
      auto data = read<std::vector<uint8_t>>(value);
      if (!data) return std::nullopt;
      bytes.emplace(company, std::move(*data));
    }
    return bytes;
  }
  return std::nullopt;
}

template <typename T> const T *find(const BluezProperties &properties, std::string_view name) {
  const auto it = properties.find(std::string(name));
  return it == properties.end() ? nullptr : std::get_if<T>(&it->second);
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (upper >= 'A' && upper <= 'F') return upper - 'A' + 10;
  return -1;
}

} // namespace

BluezProperties toBluezProperties(const std::map<std::string, sdbus::Variant> &properties) {
  BluezProperties converted;
  for (const auto &[name, variant] : properties) {
    if (auto value = convert(variant)) converted.emplace(name, std::move(*value));
  }
  return converted;
}

std::optional<bool> boolProperty(const BluezProperties &properties, std::string_view name) {
  const bool *value = find<bool>(properties, name);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<int64_t> intProperty(const BluezProperties &properties, std::string_view name) {
  const int64_t *value = find<int64_t>(properties, name);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::string> stringProperty(const BluezProperties &properties,
                                          std::string_view name) {
  const std::string *value = find<std::string>(properties, name);
  return value ? std::optional(*value) : std::nullopt;
}

std::vector<std::string> stringsProperty(const BluezProperties &properties, std::string_view name) {
  const auto *value = find<std::vector<std::string>>(properties, name);
  return value ? *value : std::vector<std::string>{};
}

std::optional<ZVData> bytesProperty(const BluezProperties &properties, std::string_view name) {
  const ZVData *value = find<ZVData>(properties, name);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::string> deviceName(const BluezProperties &device) {
  if (auto name = stringProperty(device, "Name")) return name;
  return stringProperty(device, "Alias");
}

std::optional<ZVData> manufacturerData(const BluezProperties &device) {
  const auto *entries = find<std::map<uint16_t, ZVData>>(device, "ManufacturerData");
  if (!entries || entries->empty()) return std::nullopt;
  const auto &[company, bytes] = *entries->begin();
  ZVData data{static_cast<uint8_t>(company & 0xFF), static_cast<uint8_t>(company >> 8)};
  data.insert(data.end(), bytes.begin(), bytes.end());
  return data;
}

uint64_t characteristicProperties(const std::vector<std::string> &flags) {
  static constexpr std::array<std::pair<std::string_view, uint64_t>, 8> kBits{{
      {"broadcast", 0x01},
      {"read", ZVBleCharacteristicPropertyRead},
      {"write-without-response", ZVBleCharacteristicPropertyWriteWithoutResponse},
      {"write", ZVBleCharacteristicPropertyWrite},
      {"notify", ZVBleCharacteristicPropertyNotify},
      {"indicate", ZVBleCharacteristicPropertyIndicate},
      {"authenticated-signed-writes", 0x40},
      {"extended-properties", 0x80},
  }};
  uint64_t bits = 0;
  for (const auto &flag : flags) {
    for (const auto &[name, bit] : kBits) {
      if (flag == name) bits |= bit;
    }
  }
  return bits;
}

std::optional<std::string> canonicalAddress(std::string_view text) {
  if (text.size() != 17) return std::nullopt;
  std::string address(text);
  for (size_t i = 0; i < address.size(); ++i) {
    if (i % 3 == 2) {
      if (address[i] != ':') return std::nullopt;
      continue;
    }
    if (hexDigit(address[i]) < 0) return std::nullopt;
    address[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(address[i])));
  }
  return address;
}

std::string devicePath(std::string_view adapterPath, std::string_view address) {
  std::string path = std::string(adapterPath) + "/dev_" + std::string(address);
  for (auto it = path.end() - static_cast<std::ptrdiff_t>(address.size()); it != path.end(); ++it) {
    if (*it == ':') *it = '_';
  }
  return path;
}

} // namespace zv::detail
