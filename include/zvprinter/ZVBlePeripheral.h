/// @file ZVBlePeripheral.h
/// @brief The peripheral half of the Bluetooth port: one remote printer
/// module and the delegate that hears about it.
#pragma once

#include <zvprinter/ZVBleService.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class ZVBlePeripheral;

/// Link state of a peripheral.
enum ZVBlePeripheralState : int64_t {
  ZVBlePeripheralStateDisconnected = 0,
  ZVBlePeripheralStateConnecting = 1,
  ZVBlePeripheralStateConnected = 2,
};

/// How a value is written.
enum ZVBleWriteType : int64_t {
  ZVBleWriteWithResponse = 0,    ///< acknowledged: didWriteValue follows each write
  ZVBleWriteWithoutResponse = 1, ///< unacknowledged: no didWriteValue
};

/// Receives the results of a peripheral's operations. Every method has an
/// empty default body, so a delegate overrides only what it needs.
///
/// All calls arrive on the main queue (ZVRunLoop::main()), always later than
/// the request that caused them, never from inside it. The peripheral holds
/// its delegate weakly and locks it anew for every call; a delegate that is
/// gone simply misses the call. @p error is empty on success.
class ZV_EXPORT ZVBlePeripheralDelegate {
public:
  virtual ~ZVBlePeripheralDelegate() = default;

  /// The services asked for by discoverServices() that the peripheral has
  /// are now in ZVBlePeripheral::services().
  virtual void didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &,
                                   const std::optional<ZVError> &) {}
  /// The characteristics of @p service are now in its characteristics().
  virtual void didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &,
                                          const std::shared_ptr<ZVBleService> &,
                                          const std::optional<ZVError> &) {}
  /// A value was read or notified; it is in the characteristic's value().
  virtual void didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &,
                              const std::shared_ptr<ZVBleCharacteristic> &,
                              const std::optional<ZVError> &) {}
  /// A write with response was acknowledged (or rejected, with @p error).
  virtual void didWriteValue(const std::shared_ptr<ZVBlePeripheral> &,
                             const std::shared_ptr<ZVBleCharacteristic> &,
                             const std::optional<ZVError> &) {}
  /// setNotifyValue() took effect; see the characteristic's isNotifying().
  virtual void didUpdateNotificationState(const std::shared_ptr<ZVBlePeripheral> &,
                                          const std::shared_ptr<ZVBleCharacteristic> &,
                                          const std::optional<ZVError> &) {}
  /// The signal strength asked for by readRSSI().
  virtual void didReadRSSI(const std::shared_ptr<ZVBlePeripheral> &, int64_t /*rssi*/,
                           const std::optional<ZVError> &) {}
};

/// A remote peripheral, made by a backend's central (discovery or
/// retrievePeripherals()). The same printer is always the same object, so
/// peripherals are compared by pointer identity.
///
/// Threading: every member is called on the main queue, except writeValue(),
/// which the library calls from its serial write queue; a backend must make
/// writeValue() safe from any thread (typically by posting to the main queue).
/// Requests made while the link is not connected are ignored (no delegate
/// call), as on the platform the library was designed on.
class ZV_EXPORT ZVBlePeripheral : public std::enable_shared_from_this<ZVBlePeripheral> {
public:
  virtual ~ZVBlePeripheral() = default;

  /// The backend's stable identifier of this peripheral (simulator: an
  /// upper-case UUID; BlueZ: the device address "AA:BB:CC:DD:EE:FF").
  virtual std::string identifier() const = 0;
  /// The name the peripheral is known by (GAP device name), if any.
  virtual std::optional<std::string> name() const = 0;
  /// A ZVBlePeripheralState value: 0 disconnected, 1 connecting, 2 connected.
  virtual int64_t state() const = 0;
  /// Services discovered so far.
  virtual std::vector<std::shared_ptr<ZVBleService>> services() const = 0;

  /// Discovers the services with these UUIDs (std::nullopt: all services);
  /// reported by didDiscoverServices.
  virtual void discoverServices(const std::optional<std::vector<std::string>> &uuids) = 0;
  /// Discovers characteristics of @p service (std::nullopt: all of them);
  /// reported by didDiscoverCharacteristics.
  virtual void discoverCharacteristics(const std::optional<std::vector<std::string>> &uuids,
                                       const std::shared_ptr<ZVBleService> &service) = 0;
  /// Reads the characteristic's value; reported by didUpdateValue.
  virtual void readValue(const std::shared_ptr<ZVBleCharacteristic> &characteristic) = 0;
  /// Writes @p value with ZVBleWriteType @p type (0 with response, 1 without).
  /// Any thread. Writes are delivered in the order they were made.
  virtual void writeValue(const ZVData &value,
                          const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                          int64_t type) = 0;
  /// Switches notifications on or off; reported by
  /// didUpdateNotificationState, after which values arrive by didUpdateValue.
  virtual void setNotifyValue(bool enabled,
                              const std::shared_ptr<ZVBleCharacteristic> &characteristic) = 0;
  /// Reads the signal strength; reported by didReadRSSI.
  virtual void readRSSI() = 0;

  /// The delegate, held weakly. Main queue.
  void setDelegate(std::weak_ptr<ZVBlePeripheralDelegate> delegate) {
    delegate_ = std::move(delegate);
  }
  std::shared_ptr<ZVBlePeripheralDelegate> delegate() const { return delegate_.lock(); }

private:
  std::weak_ptr<ZVBlePeripheralDelegate> delegate_;
};
