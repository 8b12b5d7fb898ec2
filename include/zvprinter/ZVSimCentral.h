/// @file ZVSimCentral.h
/// @brief A simulated Bluetooth central whose peripherals are virtual printers.
#pragma once

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zv::detail {
class SimPeripheral;
class SimCallLog;
} // namespace zv::detail

/// Errors the simulated link reports (domain "ZVSimErrorDomain").
enum ZVSimError : int64_t {
  ZVSimErrorConnectionRefused = 1, ///< the printer refused the connection
  ZVSimErrorLinkLost = 2,          ///< the link dropped (out of range, injected fault)
  ZVSimErrorWriteRejected = 3,     ///< the module refused a write
  ZVSimErrorValueTooLong = 4,      ///< a write longer than the ATT payload limit
  ZVSimErrorNotSupported = 5,      ///< the characteristic cannot do that
};

/// A central that finds and connects ZVVirtualPrinters, timing everything on
/// a run loop (normally ZVRunLoop::main() under the virtual clock, so a test
/// or the CLI sees the same sequence every time).
///
/// Make it with std::make_shared. It reports its first state (5, powered on,
/// unless made powered off) on the loop shortly after it is made. Scanning
/// reports every printer in range once per scan (again after
/// advertiseAgain()); connecting takes the printer's connectDelay, and a
/// connection asked for while the printer is out of range stays pending until
/// it is added again (there is no time-out of its own); writes,
/// acknowledgements and notifications travel at the link's connection events.
///
/// Threading: main queue, like every ZVBleCentral; the peripherals' write
/// operation may be called from any thread.
class ZV_EXPORT ZVSimCentral : public ZVBleCentral,
                               public std::enable_shared_from_this<ZVSimCentral> {
public:
  explicit ZVSimCentral(ZVRunLoop &loop = ZVRunLoop::main(), bool poweredOn = true);
  ~ZVSimCentral() override;

  /// Brings a printer into range. It advertises from now on.
  void addPrinter(const std::shared_ptr<ZVVirtualPrinter> &printer);
  /// Takes a printer out of range: its link, if any, is lost (with error).
  void removePrinter(const std::shared_ptr<ZVVirtualPrinter> &printer);
  /// The printer advertises again, reported even to a scan that saw it.
  void advertiseAgain(const std::shared_ptr<ZVVirtualPrinter> &printer);
  /// Switches the adapter on (state 5) or off (state 4). Switching off ends
  /// every link and the scan without disconnection reports.
  void setPoweredOn(bool on);
  /// Sets the adapter state (0 unknown .. 5 powered on), reported on the
  /// loop. Any state but 5 ends every link and the scan without
  /// disconnection reports, as switching off does.
  void setState(int64_t state);
  /// Delivers @p value on the characteristic @p uuid of @p printer's link
  /// (it must have been discovered; subscription is not needed) @p delay
  /// seconds from now, with @p error if given: a raw notification or read
  /// result, exactly as the module would send it. Nothing without a link.
  void injectValue(const std::shared_ptr<ZVVirtualPrinter> &printer, const std::string &uuid,
                   ZVData value, std::optional<ZVError> error = std::nullopt, double delay = 0);

  /// Every call the library made on this central and its peripherals, oldest
  /// first: "scanForPeripherals", "stopScan", "connect <id>",
  /// "cancelPeripheralConnection <id>", "retrievePeripherals <ids>",
  /// "discoverServices", "discoverCharacteristics <service>",
  /// "readValue <uuid>", "setNotifyValue <uuid> <0|1>",
  /// "writeValue <uuid> <length> <type>", "readRSSI". A connect() of a
  /// peripheral that is already connecting or connected is logged with
  /// " ignored" and changes nothing. Any thread.
  std::vector<std::string> calls() const;
  void clearCalls();
  /// The peripheral object that stands for @p printer (null if not added).
  std::shared_ptr<ZVBlePeripheral> peripheralFor(const std::shared_ptr<ZVVirtualPrinter> &printer);
  ZVRunLoop &loop() { return loop_; }

  int64_t state() const override { return state_; }
  void scanForPeripherals(const std::optional<std::vector<std::string>> &serviceUUIDs,
                          bool allowDuplicates) override;
  void stopScan() override;
  bool isScanning() const override { return scanning_; }
  void connect(const std::shared_ptr<ZVBlePeripheral> &peripheral) override;
  void cancelPeripheralConnection(const std::shared_ptr<ZVBlePeripheral> &peripheral) override;
  std::vector<std::shared_ptr<ZVBlePeripheral>>
  retrievePeripherals(const std::vector<std::string> &identifiers) override;
  /// Identifiers are UUIDs: 8-4-4-4-12 hexadecimal digits.
  bool isValidIdentifier(std::string_view identifier) const override;

private:
  friend class zv::detail::SimPeripheral;
  std::shared_ptr<zv::detail::SimPeripheral> find(const std::shared_ptr<ZVBlePeripheral> &p) const;
  void report(const std::shared_ptr<zv::detail::SimPeripheral> &peripheral);
  void attempt(const std::shared_ptr<zv::detail::SimPeripheral> &peripheral);
  void linkLost(const std::shared_ptr<zv::detail::SimPeripheral> &peripheral);

  ZVRunLoop &loop_;
  std::shared_ptr<int> alive_ = std::make_shared<int>(0); // blocks posted by a dead central skip
  std::shared_ptr<zv::detail::SimCallLog> calls_;
  int64_t state_ = 0;
  bool scanning_ = false;
  bool allowDuplicates_ = false;
  std::optional<std::vector<std::string>> scanFilter_;
  std::vector<std::shared_ptr<zv::detail::SimPeripheral>> peripherals_; // every printer ever added
  std::set<std::string> inRange_;
  std::set<std::string> reported_;
};
