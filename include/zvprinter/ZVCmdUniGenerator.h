/// @file ZVCmdUniGenerator.h
/// @brief Device-information, Wi-Fi and firmware commands.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <string>
#include <vector>

/// Builds the commands of the printer's text command channel: ESC FS, then
/// "& V1 " and a verb (getval, setval, do) with quoted names and values, then
/// CR LF. Send them with ZVDataDispatcher; the printer's answers arrive raw
/// through its receive callback and are not interpreted by the library.
///
/// Wi-Fi settings carry a field "<n><key>:<value>" where n counts the
/// characters after the number (key, colon and value) as UTF-16 code units,
/// not bytes. A string argument that is not valid UTF-8 gives an empty buffer.
///
/// Stateless; every operation may be called from any thread.
class ZV_EXPORT ZVCmdUniGenerator {
public:
  ZVCmdUniGenerator() = delete;

  /// ESC FS & V1 getval "printer_name" CR LF (30 bytes).
  static ZVData getPrinterModelName();
  /// ESC FS & V1 getval "printer_version" CR LF (33 bytes).
  static ZVData getPrinterFirmwareVersion();
  /// ESC FS & V1 getval "serial_no" CR LF (27 bytes).
  static ZVData getPrinterSerialNumber();
  /// ESC FS & V1 getval "auto_wifi" CR LF (27 bytes).
  static ZVData getPrinterWifiInfo();
  /// ESC FS & V1 do "restart_wifi" CR LF (26 bytes).
  static ZVData configureWifi();

  /// ESC FS & V1 setval "auto_wifi" "<field>" CR LF around the field bytes.
  static ZVData appendWifiInfo(const ZVData &field);

  /// The setting command (appendWifiInfo) around the field "6WM:STA" for mode 0
  /// (station), "5WM:AP" for any other (access point).
  static ZVData setPrinterWifiMode(int64_t mode);
  /// The setting command around the field "<n+3>WS:<ssid>", in UTF-8.
  static ZVData setPrinterWifiSSID(const std::string &ssid);
  /// The setting command around the field "<n+3>WI:<ip>", in GB 18030.
  static ZVData setPrinterWifiIP(const std::string &ip);
  /// The setting command around the field "<n+3>WP:<password>" ("3WP:" when
  /// empty), in UTF-8.
  static ZVData setPrinterWifiPassword(const std::string &password);
  /// The setting command around the field "4WA:<method>"; the 4 is fixed
  /// whatever the number of digits.
  static ZVData setPrinterWifiAuth(uint64_t method);

  /// The firmware frames of ZVPackProtocol::generateFirmwarePacksWithData.
  static std::vector<ZVFirmwareSlice> generateFirmwarePacksWithData(const ZVData &data);
};
