/// @file ZVBluezCentral.h
/// @brief The Bluetooth port over BlueZ (org.bluez on the system D-Bus):
/// real printers on Linux.
#pragma once

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVRunLoop.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Error domain of the BlueZ backend. The description of every error that
/// came from D-Bus starts with the D-Bus error name, e.g.
/// "org.bluez.Error.Failed: le-connection-abort-by-local".
inline constexpr std::string_view ZVBluezErrorDomain = "ZVBluezErrorDomain";

/// Codes of ZVBluezErrorDomain.
enum ZVBluezError : int64_t {
  ZVBluezErrorDBus = 1,         ///< a D-Bus call failed; the text holds the error name
  ZVBluezErrorLinkLost = 2,     ///< the link dropped without being asked to
  ZVBluezErrorValueTooLong = 3, ///< a write longer than the ATT payload BlueZ reports
  ZVBluezErrorSocket = 4,       ///< the acquired write socket failed
  ZVBluezErrorNotReady = 5,     ///< no such characteristic on this link any more
};

/// How the backend sends writes without response to a data characteristic.
///
/// With Enhanced ATT, bluetoothd opens several ATT bearers to a peer that
/// supports them and spreads writes without response (those on an
/// AcquireWrite socket included) over the bearers, so chunks can overtake
/// each other on the way to the printer. Only a write request, whose reply
/// comes back before the next one leaves, keeps the order there.
enum class ZVBluezWriteOrder {
  /// The fast path (AcquireWrite socket, else WriteValue "command") where
  /// the link has one ATT bearer, the ordered path everywhere else.
  /// bluetoothd opens extra bearers only to a peer whose GATT Server
  /// Supported Features (0x2B3A) have the Enhanced ATT bit set, and only
  /// when its [GATT] Channels is above 1 (BlueZ 5.66 defaults to 3). So the
  /// link has one bearer when bluetoothd's configuration says
  /// `Channels = 1`, or when the printer has no 0x2B3A characteristic or
  /// one whose bit 0 is clear (BlueZ exports it under the device and lets
  /// any user read it). A value that cannot be read counts as several
  /// bearers.
  Auto,
  /// Always the fast path: only for links known to have one ATT bearer.
  FastPath,
  /// Always the ordered path: each chunk is a WriteValue "request", and
  /// the next leaves only after BlueZ has answered the previous one.
  Ordered,
};

/// Where to find BlueZ and which adapter to use.
struct ZVBluezOptions {
  /// Adapter name ("hci0"); empty: the first powered adapter, else the first
  /// one (in the order of their object paths).
  std::string adapter;
  /// D-Bus address of the bus that carries org.bluez; empty: the system bus
  /// (which honours DBUS_SYSTEM_BUS_ADDRESS). Tests pass a private bus here.
  std::string busAddress;
  /// How writes without response to a printer's data characteristic go out.
  ZVBluezWriteOrder writeOrder = ZVBluezWriteOrder::Auto;
  /// bluetoothd's configuration file, read (never written) for the number
  /// of ATT bearers it opens ([GATT] Channels). Tests point it elsewhere.
  std::string bluetoothdConfig = "/etc/bluetooth/main.conf";
};

/// Whether BlueZ can be used right now, and what to do if not.
struct ZVBluezProbe {
  enum class Status {
    Ready,        ///< org.bluez is there with a powered adapter
    NoBus,        ///< the bus cannot be reached
    AccessDenied, ///< the bus refused us (policy, group membership)
    NoBluez,      ///< nobody owns org.bluez (bluetoothd not running)
    NoAdapter,    ///< no adapter, or not the one asked for
    AdapterOff,   ///< the adapter is powered off
  };
  Status status = Status::NoBus;
  /// The adapter that would be used ("hci0"), when there is one.
  std::string adapter;
  /// One line for a person: what is wrong and what to do about it. Empty
  /// when ready.
  std::string message;
};

/// A ZVBleCentral over BlueZ 5.
///
/// Mapping onto BlueZ:
/// - state(): 2 (unsupported) while org.bluez is not on the bus or the
///   adapter is missing, 3 when the bus refuses access, 4 while the adapter's
///   Powered is false, 5 while it is true; each change is reported.
/// - Scanning sets the discovery filter {Transport "le", DuplicateData false}
///   and starts discovery. Every Device1 of the adapter is reported, those
///   BlueZ already knew when the scan started included, and again whenever
///   its name or manufacturer data change (or every property change when
///   duplicates are allowed). The name is Name, else Alias; manufacturer data
///   is each ManufacturerData entry with its 16-bit company id put back in
///   front, little-endian; RSSI is 127 ("unknown") when BlueZ has none.
///   BlueZ does not tell whether an advertisement was connectable, so every
///   device is reported with isConnectable 1; connecting to one that is not
///   fails through didFailToConnectPeripheral.
/// - Identifiers are device addresses "AA:BB:CC:DD:EE:FF" (upper case);
///   retrievePeripherals() finds devices BlueZ knows on the adapter.
/// - connect() calls Device1.Connect; the link counts as open when Connected
///   becomes true. Service discovery waits for ServicesResolved and reads the
///   GATT objects (GattService1, GattCharacteristic1) under the device.
/// - Data characteristics that BlueZ lets us AcquireWrite are written
///   without response through the acquired socket; everything else goes
///   through WriteValue with type "request" or "command". Notifications are
///   StartNotify and PropertiesChanged of Value. A write without response
///   that BlueZ refuses, or that is longer than the ATT payload BlueZ
///   reports (MTU - 3, at most 512), ends the link with an error rather than
///   leave a silent hole in the printer's data.
/// - Order: with several ATT bearers (Enhanced ATT, "EATT channel
///   connected" in bluetoothd's log) BlueZ spreads writes without response
///   over the bearers and chunks could reach the printer out of order. The
///   backend therefore writes data characteristics by the fast path only
///   where the link has one bearer, and otherwise as a chain of write
///   requests that keeps the order (see ZVBluezWriteOrder). The port's
///   caller sees no difference: the writes still count as without response.
///
/// Threading: like every ZVBleCentral, members are called on the main queue
/// of @p loop, and every delegate call is made there. A bus thread of the
/// central's own receives D-Bus traffic and posts it to the loop; the
/// peripherals' writeValue() may be called from any thread. Nothing blocks
/// the main queue except the construction, which subscribes to BlueZ's
/// signals (a round trip to the bus daemon).
class ZV_EXPORT ZVBluezCentral : public ZVBleCentral,
                                 public std::enable_shared_from_this<ZVBluezCentral> {
public:
  /// Makes a central; use std::shared_ptr (see make()).
  ZVBluezCentral(ZVBluezOptions options, ZVRunLoop &loop);
  ~ZVBluezCentral() override;
  ZVBluezCentral(const ZVBluezCentral &) = delete;
  ZVBluezCentral &operator=(const ZVBluezCentral &) = delete;

  /// Makes a central and starts reading BlueZ's state; its first state is
  /// reported on the loop once BlueZ has answered.
  static std::shared_ptr<ZVBluezCentral> make(ZVBluezOptions options = {},
                                              ZVRunLoop &loop = ZVRunLoop::main());

  /// Asks the bus, synchronously (at most a few seconds), whether BlueZ is
  /// usable with these options. Any thread; meant for start-up decisions
  /// such as the command line's "--backend auto".
  static ZVBluezProbe probe(const ZVBluezOptions &options = {});

  /// Whether @p identifier is a device address "AA:BB:CC:DD:EE:FF" (hex
  /// digits of either case).
  static bool isDeviceAddress(std::string_view identifier);

  int64_t state() const override;
  void scanForPeripherals(const std::optional<std::vector<std::string>> &serviceUUIDs,
                          bool allowDuplicates) override;
  void stopScan() override;
  bool isScanning() const override;
  void connect(const std::shared_ptr<ZVBlePeripheral> &peripheral) override;
  void cancelPeripheralConnection(const std::shared_ptr<ZVBlePeripheral> &peripheral) override;
  std::vector<std::shared_ptr<ZVBlePeripheral>>
  retrievePeripherals(const std::vector<std::string> &identifiers) override;
  bool isValidIdentifier(std::string_view identifier) const override;

  /// The adapter in use ("hci0"), empty while there is none.
  std::string adapterName() const;
  /// Why the central is not powered on, as one line for a person (see
  /// ZVBluezProbe::message); empty when it is.
  std::string unavailableReason() const;

  struct Impl;

private:
  std::shared_ptr<Impl> impl_;
};
