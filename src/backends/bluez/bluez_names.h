#pragma once

// Names of BlueZ's D-Bus service, interfaces and the ones of D-Bus itself.

namespace zv::detail::bluez {

inline constexpr const char *kService = "org.bluez";
inline constexpr const char *kAdapter = "org.bluez.Adapter1";
inline constexpr const char *kDevice = "org.bluez.Device1";
inline constexpr const char *kService1 = "org.bluez.GattService1";
inline constexpr const char *kCharacteristic = "org.bluez.GattCharacteristic1";
inline constexpr const char *kObjectManager = "org.freedesktop.DBus.ObjectManager";
inline constexpr const char *kProperties = "org.freedesktop.DBus.Properties";
inline constexpr const char *kRootPath = "/";
inline constexpr const char *kAdapterPathPrefix = "/org/bluez/";

} // namespace zv::detail::bluez
