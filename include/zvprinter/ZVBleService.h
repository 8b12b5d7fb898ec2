/// @file ZVBleService.h
/// @brief GATT services and characteristics of the Bluetooth port, and the
/// UUID strings they are named by.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class ZVBleService;

/// The canonical form of a UUID string as the port reports it: upper case,
/// and a 16-bit Bluetooth SIG UUID (0000XXXX-0000-1000-8000-00805F9B34FB)
/// in its short form "XXXX". Strings of any other shape are upper-cased only.
/// Examples: "0000ff00-0000-1000-8000-00805f9b34fb" -> "FF00",
/// "2a24" -> "2A24".
ZV_EXPORT std::string ZVBleUUIDString(std::string_view uuid);

/// Property bits of a characteristic (the Bluetooth Core characteristic
/// property bits).
enum ZVBleCharacteristicProperty : uint64_t {
  ZVBleCharacteristicPropertyRead = 0x02,
  ZVBleCharacteristicPropertyWriteWithoutResponse = 0x04,
  ZVBleCharacteristicPropertyWrite = 0x08,
  ZVBleCharacteristicPropertyNotify = 0x10, ///< 16: the printer can notify values
  ZVBleCharacteristicPropertyIndicate = 0x20,
};

/// A characteristic of a service on a peripheral. Backends make them when
/// characteristics are discovered and keep them for the life of the link;
/// the library compares them by identity and by uuid().
///
/// Threading: read on the main queue. Backends change value() and
/// isNotifying() on the main queue, just before reporting the change.
class ZV_EXPORT ZVBleCharacteristic {
public:
  ZVBleCharacteristic(std::string uuid, uint64_t properties,
                      std::weak_ptr<ZVBleService> service = {})
      : uuid_(ZVBleUUIDString(uuid)), properties_(properties), service_(std::move(service)) {}

  /// Canonical UUID string (see ZVBleUUIDString), e.g. "FF01".
  const std::string &uuid() const { return uuid_; }
  /// ZVBleCharacteristicProperty bits.
  uint64_t properties() const { return properties_; }
  /// The service it belongs to (null once the service is gone).
  std::shared_ptr<ZVBleService> service() const { return service_.lock(); }
  /// The last value read or notified; empty before the first.
  const ZVData &value() const { return value_; }
  /// True while notifications are switched on.
  bool isNotifying() const { return notifying_; }

  /// For backends: record a value before reporting it.
  void setValue(ZVData value) { value_ = std::move(value); }
  /// For backends: record the notification state before reporting it.
  void setNotifying(bool notifying) { notifying_ = notifying; }

private:
  std::string uuid_;
  uint64_t properties_;
  std::weak_ptr<ZVBleService> service_;
  ZVData value_;
  bool notifying_ = false;
};

/// A primary service of a peripheral. Its characteristics() are empty until
/// the peripheral reports them discovered.
class ZV_EXPORT ZVBleService {
public:
  explicit ZVBleService(std::string uuid) : uuid_(ZVBleUUIDString(uuid)) {}

  /// Canonical UUID string, e.g. "FF00" or
  /// "49535343-FE7D-4AE5-8FA9-9FAFD205E455".
  const std::string &uuid() const { return uuid_; }
  const std::vector<std::shared_ptr<ZVBleCharacteristic>> &characteristics() const {
    return characteristics_;
  }
  /// The characteristic with this UUID (any spelling), or null.
  std::shared_ptr<ZVBleCharacteristic> characteristic(std::string_view uuid) const;

  /// For backends: record discovered characteristics before reporting them.
  void setCharacteristics(std::vector<std::shared_ptr<ZVBleCharacteristic>> characteristics) {
    characteristics_ = std::move(characteristics);
  }

private:
  std::string uuid_;
  std::vector<std::shared_ptr<ZVBleCharacteristic>> characteristics_;
};
