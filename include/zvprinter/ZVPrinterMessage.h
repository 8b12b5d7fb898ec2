/// @file ZVPrinterMessage.h
/// @brief The record of one discovered printer, and its keyed archive.
#pragma once

#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVExport.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// Transport of a printer record or of the connection.
enum ZVPrinterMode : int64_t {
  ZVPrinterModeNone = 0, ///< no connection has been usable yet
  ZVPrinterModeBLE = 1,  ///< Bluetooth LE, the only transport the library sets
};

/// One printer seen by a scan (or reconnected by identifier). The discovery
/// list shares these records by std::shared_ptr and updates them in place
/// when the printer advertises again, so a record held by the application
/// shows the latest name, MAC and distance; records are compared by identity.
///
/// Threading: written by the library on the main queue only; read them there.
struct ZV_EXPORT ZVPrinterMessage {
  /// Display name: the advertised local name, or the peripheral's name when
  /// the advertisement carried none or an empty one.
  std::optional<std::string> name;
  /// Six upper-case hexadecimal pairs joined by ":" taken from the last six
  /// bytes of the manufacturer data, or "Unknown". Unset for a record made
  /// by a reconnection by identifier.
  std::optional<std::string> mac;
  /// The peripheral's identifier (upper case).
  std::optional<std::string> identifier;
  /// Distance estimate from the signal strength (single precision), in
  /// units of the reference distance at which the signal is -65 dBm.
  std::optional<float> distance;
  /// The port's peripheral; used to connect. Not archived.
  std::shared_ptr<ZVBlePeripheral> peripheral;
  /// ZVPrinterMode; 1 for every record the library makes.
  int64_t mode = ZVPrinterModeNone;

  /// The keyed archive: a JSON object with the keys "_name", "_mac",
  /// "_identifier", "_distance" (number) and "_mode" (number). Unset fields
  /// are left out; "_mode" is always present. The live peripheral is never
  /// archived (a platform object cannot be), so a decoded record has none
  /// and must be matched against a scan or reconnected by identifier.
  std::string encode() const;
  /// Reads an archive made by encode(). Keys that are missing leave their
  /// field at its default; unknown keys are ignored. Text that is not a
  /// JSON object, or a known key whose value has the wrong type ("_mode" not
  /// an integer that fits 64 bits, "_distance" not a number within float
  /// range, a text field that is not a string), gives null.
  static std::shared_ptr<ZVPrinterMessage> decode(std::string_view text);
};
