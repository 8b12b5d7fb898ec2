/// @file ZVBluetoothManager.h
/// @brief The central-role manager: scanning, the list of printers seen, and
/// opening and closing links with their time-outs.
#pragma once

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVPrinterMessage.h>
#include <zvprinter/ZVRunLoop.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class ZVPeripheralManager;

/// One per process (shareInstance()); it owns the Bluetooth central that
/// ZVPlatform makes and is its delegate. Applications reach it through
/// ZVConnectInterface.
///
/// Scanning accepts only connectable advertisements from peripherals with a
/// name; each printer gets one ZVPrinterMessage, updated in place when it
/// advertises again, and the facade's delegate hears didDiscoverBLEPrints()
/// after every accepted advertisement.
///
/// Connecting: connectPrinter() (or a reconnection by identifier) asks the
/// central to connect and arms a 4.0 s time-out; the link's opening hands the
/// peripheral to ZVPeripheralManager, which discovers the services (3.0 s
/// time-out) and declares the link usable. A refusal reports
/// didConnectFail() at once and again when the 4.0 s time-out fires.
///
/// Defined where the platform leaves it open:
/// - connectPrinter() for a peripheral whose port link is already
///   connecting (state 1) sends no second connect request: the pending one
///   and the new 4.0 s time-out decide. One whose port link is already open
///   (state 2) but not usable (a service time-out left it open) is treated
///   as a link that has just opened: discovery starts afresh.
/// - Every timer belongs to the attempt that armed it: when it fires it acts
///   only if it is still the timer stored in its field; a timer that was
///   cleared or replaced does nothing (an invalidated one never fires).
///
/// Threading: main queue only, like the central it owns. Timers run on
/// ZVRunLoop::main().
class ZV_EXPORT ZVBluetoothManager : public ZVBleCentralDelegate {
public:
  /// The manager, made on first use (thread-safe); connectTimeout() is 5.0.
  /// Making it makes the central (ZVPlatform::makeCentral()) and
  /// ZVPeripheralManager::share().
  static ZVBluetoothManager &shareInstance();

  // Discovery.
  /// Stops any scan, records the wish to scan, and, if the central is
  /// powered on, empties devices() and scans for all peripherals.
  void scanBluetooth();
  /// Records that no scan is wanted and stops the central's scan.
  void stopScanBluetooth();
  /// The MAC from the last six bytes of the manufacturer data, in upper
  /// case, or "Unknown" when there are fewer than six.
  std::string getMacWithAdvertisementData(const ZVBleAdvertisement &advertisement) const;
  /// "%02x" per byte joined by ":"; "" for no bytes or a null pointer.
  std::string stringFromBytes(const uint8_t *bytes, uint64_t length) const;
  /// 10^((|rssi| - 65) / 20) computed as the library always has: the
  /// exponent rounded to float, the power computed in double and rounded to
  /// float. -65 gives 1, -85 gives 10.
  float distanceWithRSSI(int64_t rssi) const;

  // Connections.
  /// Connects to a printer from the discovery list (see the class notes).
  void connectPrinter(const std::shared_ptr<ZVPrinterMessage> &printer);
  /// Reconnects to a peripheral the central knows by @p identifier, when
  /// nothing is connected; an identifier the backend rejects or does not
  /// know is ignored silently.
  void connectPeripheral(const std::string &identifier);
  /// connectPeripheral(identifier()) if it is set and nothing is connected.
  void connectPeripheralWithIdentifier();
  /// Closes the connected printer's link; the close is then reported.
  void disconnect();
  /// Closes the connected printer's link without reporting the close.
  void cancelConnect();
  /// The 4.0 s connect time-out's action.
  void whenConnectTimeout();

  // ZVBleCentralDelegate: the central's reports.
  void didUpdateState(ZVBleCentral &central) override;
  void didDiscoverPeripheral(ZVBleCentral &central,
                             const std::shared_ptr<ZVBlePeripheral> &peripheral,
                             const ZVBleAdvertisement &advertisement, int64_t rssi) override;
  void didConnectPeripheral(ZVBleCentral &central,
                            const std::shared_ptr<ZVBlePeripheral> &peripheral) override;
  void didFailToConnectPeripheral(ZVBleCentral &central,
                                  const std::shared_ptr<ZVBlePeripheral> &peripheral,
                                  const std::optional<ZVError> &error) override;
  void didDisconnectPeripheral(ZVBleCentral &central,
                               const std::shared_ptr<ZVBlePeripheral> &peripheral,
                               const std::optional<ZVError> &error) override;

  // Fields.
  bool isConnecting() const { return isConnecting_; }
  void setIsConnecting(bool value) { isConnecting_ = value; }
  bool isConnectFail() const { return isConnectFail_; }
  void setIsConnectFail(bool value) { isConnectFail_ = value; }
  bool isScaning() const { return isScaning_; }
  void setIsScaning(bool value) { isScaning_ = value; }
  const std::shared_ptr<ZVBleCentral> &centralManager() const { return centralManager_; }
  void setCentralManager(std::shared_ptr<ZVBleCentral> central);
  const std::shared_ptr<ZVTimer> &connectTimeoutTimer() const { return connectTimeoutTimer_; }
  void setConnectTimeoutTimer(std::shared_ptr<ZVTimer> timer) {
    connectTimeoutTimer_ = std::move(timer);
  }
  const std::shared_ptr<ZVTimer> &systemTimer() const { return systemTimer_; }
  void setSystemTimer(std::shared_ptr<ZVTimer> timer) { systemTimer_ = std::move(timer); }
  /// 5.0; kept for applications, read by nothing (the time-outs are 4.0 s).
  double connectTimeout() const { return connectTimeout_; }
  void setConnectTimeout(double seconds) { connectTimeout_ = seconds; }
  ZVPeripheralManager *deviceManager() const { return deviceManager_; }
  void setDeviceManager(ZVPeripheralManager *manager) { deviceManager_ = manager; }
  /// The printer being connected or connected.
  const std::shared_ptr<ZVPrinterMessage> &printer() const { return printer_; }
  void setPrinter(std::shared_ptr<ZVPrinterMessage> printer) { printer_ = std::move(printer); }
  /// Identifier for automatic reconnection; "" at start.
  const std::string &identifier() const { return identifier_; }
  void setIdentifier(std::string identifier) { identifier_ = std::move(identifier); }
  /// Printers seen since the last scan start (the live list).
  const std::vector<std::shared_ptr<ZVPrinterMessage>> &devices() const { return devices_; }
  void setDevices(std::vector<std::shared_ptr<ZVPrinterMessage>> devices) {
    devices_ = std::move(devices);
  }

  ZVBluetoothManager(const ZVBluetoothManager &) = delete;
  ZVBluetoothManager &operator=(const ZVBluetoothManager &) = delete;

private:
  ZVBluetoothManager();
  std::shared_ptr<ZVTimer> armConnectTimeout();
  void reportConnectFail(const ZVError &error);
  /// Cancels the link of the connected record while it is connecting or open.
  void cancelConnectedLink();

  bool isConnecting_ = false;
  bool isConnectFail_ = false;
  bool isScaning_ = false;
  std::shared_ptr<ZVBleCentral> centralManager_;
  std::shared_ptr<ZVTimer> connectTimeoutTimer_;
  std::shared_ptr<ZVTimer> systemTimer_;
  double connectTimeout_ = 0;
  ZVPeripheralManager *deviceManager_ = nullptr;
  std::shared_ptr<ZVPrinterMessage> printer_;
  std::string identifier_;
  std::vector<std::shared_ptr<ZVPrinterMessage>> devices_;
  // The central holds its delegate weakly; this non-owning handle to the
  // process-lifetime singleton is what it holds.
  std::shared_ptr<ZVBleCentralDelegate> selfAsDelegate_;
};
