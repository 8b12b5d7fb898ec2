/// @file ZVConnectInterface.h
/// @brief The application's entry to the connection side: scanning,
/// connecting, disconnecting, the Bluetooth state and the delegate that
/// hears about every connection event.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVPrinterMessage.h>
#include <zvprinter/ZVTypes.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class ZVBluetoothManager;

/// Domain of every connection error.
inline constexpr const char *ZVConnectErrorDomain = "ZVConnectErrorDomain";

/// Codes of the connection errors (2 and 3 are never produced).
enum ZVConnectError : int64_t {
  /// "连接超时，一般是未能发现蓝牙服务和特征，导致连接超时，请重启打印机": the
  /// printer's services were not reported within 3.0 s of the link opening.
  ZVConnectErrorServiceTimeout = 0,
  /// "没有外设对象": connectPrinter() got a record without a peripheral.
  ZVConnectErrorNoPeripheral = 1,
  /// "蓝牙连接失败" when no link opened within 4.0 s, or
  /// "蓝牙中心为能和外设连接，这个错误一般是暂时的，检查下蓝牙重新连接即可" when
  /// the platform refused the connection.
  ZVConnectErrorConnectFailed = 4,
};

/// The connection error with @p code (0, 1 or 4) and its fixed Chinese
/// description. For code 4, @p refused selects the refusal text; otherwise
/// the time-out text. Other codes give an empty description.
ZV_EXPORT ZVError ZVConnectErrorMake(int64_t code, bool refused = false);

/// What getBluetoothStatus() returns.
enum ZVBluetoothStatus : int64_t {
  ZVBluetoothStatusUnknown = 0,     ///< the adapter has not reported yet
  ZVBluetoothStatusUnavailable = 1, ///< resetting, unsupported, unauthorised
  ZVBluetoothStatusPoweredOff = 2,
  ZVBluetoothStatusPoweredOn = 3,
};

/// Receives the connection events. Every method is optional: the default
/// bodies do nothing, and a method not overridden misses its event.
///
/// Every call is made on the main queue (ZVRunLoop::main()). The facade holds
/// the delegate weakly and locks it anew for every call, so a delegate that
/// is gone is never called.
class ZV_EXPORT ZVPrinterInterfaceDelegate {
public:
  virtual ~ZVPrinterInterfaceDelegate() = default;

  /// After every accepted advertisement during a scan, with the manager's
  /// live list of printers seen since the scan started (posted to the main
  /// queue, so the list is read as it is when the call runs).
  virtual void didDiscoverBLEPrints(const std::vector<std::shared_ptr<ZVPrinterMessage>> &) {}
  /// The link became usable, or connectPrinter() was asked for the printer
  /// already connected.
  virtual void didConnectSuccess() {}
  /// An attempt failed; the error's domain is ZVConnectErrorDomain. After a
  /// refusal this comes twice: the refusal, then the 4.0 s time-out.
  virtual void didConnectFail(const ZVError &) {}
  /// The connected printer's link closed: true for an orderly close, false
  /// when the platform reported an error or Bluetooth was switched off. Not
  /// called after a time-out or cancelConnect().
  virtual void didDisconnect(bool) {}
};

/// The connection facade, one per process (shared()). It forwards the work
/// to ZVBluetoothManager and holds the state that every sender consults
/// before writing: isConnected(), mode() and deviceConnected().
///
/// State: isConnected() is set with deviceConnected() when a link becomes
/// usable and cleared when it closes or is refused; after Bluetooth is
/// switched off only deviceConnected() is cleared, isConnected() stays true
/// until the next disconnection or connection (applications rely on this).
/// mode() goes from 0 to 1 with the first usable connection and stays 1.
///
/// Threading: every operation and every delegate call belongs on the main
/// queue. isConnected() and mode() may also be read from any thread (they
/// are atomic); the other accessors are main-queue only.
class ZV_EXPORT ZVConnectInterface {
public:
  /// The facade, made on first use (thread-safe); it lives until the
  /// process ends. Making it makes ZVBluetoothManager::shareInstance().
  static ZVConnectInterface &shared();

  /// Starts scanning (now if Bluetooth is on, else as soon as it is).
  void scanBluetooth();
  void stopScanBluetooth();
  /// Connects to a printer from the discovery list. Ignored while another
  /// connectPrinter() attempt runs; see ZVBluetoothManager::connectPrinter.
  void connectPrinter(const std::shared_ptr<ZVPrinterMessage> &printer);
  /// Stores @p identifier for automatic reconnection whenever Bluetooth is
  /// switched on while nothing is connected, and reconnects to it now. An
  /// identifier the backend does not know gives no callback at all.
  void connectDeviceWithIdentifier(const std::string &identifier);
  /// Closes the connected printer's link (didDisconnect(true) follows).
  /// Does nothing without a deviceConnected().
  void disconnect();
  /// As disconnect(), but the close is not reported; while only
  /// connecting, it just marks the attempt so that a later close is not
  /// reported either.
  void cancelConnect();
  /// A ZVBluetoothStatus value for the central's current state.
  int64_t getBluetoothStatus();

  bool isConnected() const { return isConnected_.load(); }
  void setIsConnected(bool connected) { isConnected_.store(connected); }
  std::shared_ptr<ZVPrinterInterfaceDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<ZVPrinterInterfaceDelegate> delegate) {
    delegate_ = std::move(delegate);
  }
  const std::shared_ptr<ZVPrinterMessage> &deviceConnected() const { return deviceConnected_; }
  void setDeviceConnected(std::shared_ptr<ZVPrinterMessage> printer) {
    deviceConnected_ = std::move(printer);
  }
  /// A ZVPrinterMode value.
  int64_t mode() const { return mode_.load(); }
  void setMode(int64_t mode) { mode_.store(mode); }
  /// The manager the facade forwards to (the shared one).
  ZVBluetoothManager *bleManager() const { return bleManager_; }
  void setBleManager(ZVBluetoothManager *manager) { bleManager_ = manager; }

  ZVConnectInterface(const ZVConnectInterface &) = delete;
  ZVConnectInterface &operator=(const ZVConnectInterface &) = delete;

private:
  ZVConnectInterface();

  std::atomic<bool> isConnected_{false};
  std::weak_ptr<ZVPrinterInterfaceDelegate> delegate_;
  std::shared_ptr<ZVPrinterMessage> deviceConnected_;
  std::atomic<int64_t> mode_{ZVPrinterModeNone};
  ZVBluetoothManager *bleManager_ = nullptr;
};
