#pragma once

// The virtual printer's identity and Wi-Fi settings, and its text answers to
// ESC FS & V1 getval / setval / do commands.

#include "backends/sim/printer_events.h"

#include <string>

namespace zv::detail {

class DeviceSettings {
public:
  DeviceSettings(std::string model, std::string version, std::string serial)
      : model_(std::move(model)), version_(std::move(version)), serial_(std::move(serial)) {}

  /// The reply line (ending in CR LF) to @p command.
  std::string answer(const DeviceCommand &command);
  /// "WM:..;WS:..;WI:..;WP:..;WA:.."
  std::string wifi() const;

private:
  bool applyWifiField(const std::string &field);

  std::string model_;
  std::string version_;
  std::string serial_;
  std::string wifiMode_ = "STA";
  std::string ssid_;
  std::string ip_;
  std::string password_;
  std::string auth_ = "0";
};

} // namespace zv::detail
