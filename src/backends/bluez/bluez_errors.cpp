#include "backends/bluez/bluez_errors.h"

#include <sdbus-c++/Error.h>

namespace zv::detail {

ZVError bluezError(ZVBluezError code, std::string description) {
  return ZVError{std::string(ZVBluezErrorDomain), code, std::move(description)};
}

ZVError bluezError(const sdbus::Error &error) {
  std::string text = error.getName();
  if (!error.getMessage().empty()) text += ": " + error.getMessage();
  return bluezError(ZVBluezErrorDBus, std::move(text));
}

ZVBluezProbe::Status statusOfBusError(std::string_view errorName) {
  using Status = ZVBluezProbe::Status;
  if (errorName == "org.freedesktop.DBus.Error.AccessDenied" ||
      errorName == "org.freedesktop.DBus.Error.AuthFailed" ||
      errorName == "org.bluez.Error.NotAuthorized") {
    return Status::AccessDenied;
  }
  if (errorName == "org.freedesktop.DBus.Error.ServiceUnknown" ||
      errorName == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
      errorName == "org.freedesktop.DBus.Error.UnknownObject" ||
      errorName == "org.freedesktop.DBus.Error.UnknownMethod" ||
      errorName == "org.freedesktop.DBus.Error.NoReply" ||
      errorName == "org.freedesktop.DBus.Error.Timeout") {
    return Status::NoBluez;
  }
  return Status::NoBus;
}

std::string adviceFor(ZVBluezProbe::Status status, std::string_view adapter,
                      std::string_view detail) {
  using Status = ZVBluezProbe::Status;
  const std::string suffix = detail.empty() ? "" : " (" + std::string(detail) + ")";
  const std::string name = adapter.empty() ? "the adapter" : std::string(adapter);
  switch (status) {
  case Status::Ready:
    return "";
  case Status::NoBus:
    return "cannot reach the system D-Bus" + suffix +
           ": make sure dbus is running (systemctl status dbus)";
  case Status::AccessDenied:
    return "not allowed to use Bluetooth" + suffix +
           ": add yourself to the 'bluetooth' group (sudo usermod -aG bluetooth $USER) and log "
           "in again";
  case Status::NoBluez:
    return "bluetoothd is not running (org.bluez is not on the system bus)" + suffix +
           ": start it with 'sudo systemctl start bluetooth'";
  case Status::NoAdapter:
    return adapter.empty() ? "no Bluetooth adapter found: plug one in, or check 'bluetoothctl list'"
                           : "no Bluetooth adapter " + std::string(adapter) +
                                 ": pick one of 'bluetoothctl list' with --adapter";
  case Status::AdapterOff:
    return "Bluetooth adapter " + name + " is off: switch it on with 'bluetoothctl power on'" +
           " (and 'rfkill unblock bluetooth' if it is blocked)";
  }
  return "";
}

} // namespace zv::detail
