#include <zvprinter/ZVCmdUniGenerator.h>

#include <zvprinter/ZVEncode.h>

#include "platform/text_conversion.h"

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace {

constexpr uint8_t kEscape = 0x1B;
constexpr uint8_t kFileSeparator = 0x1C;

// ESC FS, the bytes of each part in turn, CR LF.
ZVData uniCommand(std::initializer_list<std::span<const uint8_t>> parts) {
  size_t size = 4;
  for (const auto part : parts)
    size += part.size();
  ZVData bytes;
  bytes.reserve(size);
  bytes.push_back(kEscape);
  bytes.push_back(kFileSeparator);
  for (const auto part : parts)
    bytes.insert(bytes.end(), part.begin(), part.end());
  bytes.push_back('\r');
  bytes.push_back('\n');
  return bytes;
}

std::span<const uint8_t> ascii(std::string_view text) {
  return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

ZVData uniCommand(std::string_view text) {
  return uniCommand({ascii(text)});
}

// "<n + 3><key>:<value>", n being the value's length in UTF-16 code units.
std::optional<std::string> countedField(std::string_view key, const std::string &value) {
  const auto units = zv::detail::utf16FromUtf8(value);
  if (!units) return std::nullopt;
  return std::to_string(static_cast<int64_t>(units->size()) + 3) + std::string(key) + ":" + value;
}

ZVData wifiSetting(const std::optional<std::string> &field, bool asUtf8) {
  if (!field) return {};
  // UTF-8 fields were validated while counting, so their bytes go out as they are.
  const auto bytes = asUtf8 ? std::optional<ZVData>(ZVData(field->begin(), field->end()))
                            : ZVEncode::encodeDataWithString(*field);
  if (!bytes) return {};
  return ZVCmdUniGenerator::appendWifiInfo(*bytes);
}

} // namespace

ZVData ZVCmdUniGenerator::getPrinterModelName() {
  return uniCommand(R"(& V1 getval "printer_name")");
}

ZVData ZVCmdUniGenerator::getPrinterFirmwareVersion() {
  return uniCommand(R"(& V1 getval "printer_version")");
}

ZVData ZVCmdUniGenerator::getPrinterSerialNumber() {
  return uniCommand(R"(& V1 getval "serial_no")");
}

ZVData ZVCmdUniGenerator::getPrinterWifiInfo() {
  return uniCommand(R"(& V1 getval "auto_wifi")");
}

ZVData ZVCmdUniGenerator::configureWifi() {
  return uniCommand(R"(& V1 do "restart_wifi")");
}

ZVData ZVCmdUniGenerator::appendWifiInfo(const ZVData &field) {
  constexpr std::string_view prefix = R"(& V1 setval "auto_wifi" ")";
  return uniCommand({ascii(prefix), field, ascii("\"")});
}

ZVData ZVCmdUniGenerator::setPrinterWifiMode(int64_t mode) {
  return wifiSetting(mode == 0 ? "6WM:STA" : "5WM:AP", false);
}

ZVData ZVCmdUniGenerator::setPrinterWifiSSID(const std::string &ssid) {
  return wifiSetting(countedField("WS", ssid), true);
}

ZVData ZVCmdUniGenerator::setPrinterWifiIP(const std::string &ip) {
  return wifiSetting(countedField("WI", ip), false);
}

ZVData ZVCmdUniGenerator::setPrinterWifiPassword(const std::string &password) {
  if (password.empty()) return wifiSetting("3WP:", true);
  return wifiSetting(countedField("WP", password), true);
}

ZVData ZVCmdUniGenerator::setPrinterWifiAuth(uint64_t method) {
  return wifiSetting("4WA:" + std::to_string(static_cast<int64_t>(method)), false);
}
