#include "backends/sim/device_settings.h"

#include <cctype>

namespace zv::detail {

std::string DeviceSettings::wifi() const {
  return "WM:" + wifiMode_ + ";WS:" + ssid_ + ";WI:" + ip_ + ";WP:" + password_ + ";WA:" + auth_;
}

// A field is a decimal count, a two-letter code, a colon and the value:
// "6WM:STA", "9WS:office", "3WP:". The count is not checked against the
// value: hosts count characters, not bytes, so it cannot be for non-ASCII.
bool DeviceSettings::applyWifiField(const std::string &field) {
  size_t digits = 0;
  while (digits < field.size() && std::isdigit(static_cast<unsigned char>(field[digits]))) {
    ++digits;
  }
  if (digits == 0 || field.size() < digits + 3 || field[digits + 2] != ':') return false;
  const std::string code = field.substr(digits, 2);
  const std::string value = field.substr(digits + 3);
  if (code == "WM" && (value == "STA" || value == "AP")) {
    wifiMode_ = value;
  } else if (code == "WS") {
    ssid_ = value;
  } else if (code == "WI") {
    ip_ = value;
  } else if (code == "WP") {
    password_ = value;
  } else if (code == "WA" && !value.empty() &&
             value.find_first_not_of("0123456789") == std::string::npos) {
    auth_ = value;
  } else {
    return false;
  }
  return true;
}

std::string DeviceSettings::answer(const DeviceCommand &command) {
  const std::string &name = command.name;
  std::string text = name + "=ERROR";
  if (command.verb == "getval" && !command.value) {
    if (name == "printer_name") text = name + "=" + model_;
    if (name == "printer_version") text = name + "=" + version_;
    if (name == "serial_no") text = name + "=" + serial_;
    if (name == "auto_wifi") {
      text = name + "=WM:" + wifiMode_ + ";WS:" + ssid_ + ";WI:" + ip_ + ";WA:" + auth_;
    }
  } else if (command.verb == "setval" && name == "auto_wifi" && command.value) {
    if (applyWifiField(*command.value)) text = name + "=OK";
  } else if (command.verb == "do" && name == "restart_wifi" && !command.value) {
    text = name + "=OK";
  }
  return text + "\r\n";
}

} // namespace zv::detail
