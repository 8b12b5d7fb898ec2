/// @file ZVBleCentral.h
/// @brief The central half of the Bluetooth port: scanning, connecting, and
/// the delegate that hears about it.
#pragma once

#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class ZVBleCentral;

/// State of the local Bluetooth adapter.
enum ZVBleCentralState : int64_t {
  ZVBleCentralStateUnknown = 0,
  ZVBleCentralStateResetting = 1,
  ZVBleCentralStateUnsupported = 2,
  ZVBleCentralStateUnauthorized = 3,
  ZVBleCentralStatePoweredOff = 4,
  ZVBleCentralStatePoweredOn = 5,
};

/// What one advertisement carried. Missing fields are std::nullopt.
struct ZVBleAdvertisement {
  /// The advertised local name.
  std::optional<std::string> localName;
  /// Manufacturer-specific data: the 2-byte company identifier
  /// (little-endian) first, then the manufacturer's bytes.
  std::optional<ZVData> manufacturerData;
  /// Non-zero when the advertiser accepts connections.
  std::optional<int64_t> isConnectable;
  /// Advertised service UUIDs, canonical strings (ZVBleUUIDString).
  std::vector<std::string> serviceUUIDs;
};

/// Receives the central's events; every method has an empty default body.
/// All calls arrive on the main queue, later than the request that caused
/// them. The central holds its delegate weakly and locks it for every call.
class ZV_EXPORT ZVBleCentralDelegate {
public:
  virtual ~ZVBleCentralDelegate() = default;

  /// The adapter's state() changed. Also called once, shortly after the
  /// central is made, with its first known state.
  virtual void didUpdateState(ZVBleCentral &) {}
  /// A scan saw @p peripheral advertise, with signal strength @p rssi (dBm).
  virtual void didDiscoverPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                     const ZVBleAdvertisement &, int64_t /*rssi*/) {}
  /// A connect() succeeded: the link is open (services not yet discovered).
  virtual void didConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &) {}
  /// A connect() failed.
  virtual void didFailToConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                          const std::optional<ZVError> &) {}
  /// An open link closed: after cancelPeripheralConnection() without error,
  /// with an error when the link was lost.
  virtual void didDisconnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &,
                                       const std::optional<ZVError> &) {}
};

/// The local adapter in the central role. A backend implements it (the
/// simulator ZVSimCentral, the BlueZ central, or an application's own on
/// another platform); ZVPlatform chooses which one the library makes.
///
/// Threading: every member is called on the main queue, and every delegate
/// call is made there. Nothing blocks: results come through the delegate.
class ZV_EXPORT ZVBleCentral {
public:
  virtual ~ZVBleCentral() = default;

  /// A ZVBleCentralState value (4 powered off, 5 powered on).
  virtual int64_t state() const = 0;
  /// Starts scanning (std::nullopt: all peripherals). With
  /// @p allowDuplicates false each peripheral is reported once per scan
  /// unless its advertisement changes.
  virtual void scanForPeripherals(const std::optional<std::vector<std::string>> &serviceUUIDs,
                                  bool allowDuplicates) = 0;
  /// Stops scanning; no discovery is reported afterwards.
  virtual void stopScan() = 0;
  virtual bool isScanning() const = 0;
  /// Opens a link; reported by didConnectPeripheral or
  /// didFailToConnectPeripheral. The attempt does not time out by itself.
  virtual void connect(const std::shared_ptr<ZVBlePeripheral> &peripheral) = 0;
  /// Closes a link or cancels an attempt. An open link reports
  /// didDisconnectPeripheral without error; a pending attempt just ends.
  virtual void cancelPeripheralConnection(const std::shared_ptr<ZVBlePeripheral> &peripheral) = 0;
  /// The peripherals known to the backend with these identifiers, in the
  /// order asked; unknown identifiers are skipped.
  virtual std::vector<std::shared_ptr<ZVBlePeripheral>>
  retrievePeripherals(const std::vector<std::string> &identifiers) = 0;
  /// Whether @p identifier has the shape of this backend's identifiers.
  virtual bool isValidIdentifier(std::string_view identifier) const = 0;

  /// The delegate, held weakly. Main queue.
  void setDelegate(std::weak_ptr<ZVBleCentralDelegate> delegate) {
    delegate_ = std::move(delegate);
  }
  std::shared_ptr<ZVBleCentralDelegate> delegate() const { return delegate_.lock(); }

private:
  std::weak_ptr<ZVBleCentralDelegate> delegate_;
};
