#pragma once

// A fake org.bluez of our own: one adapter and one device whose GATT
// database is a printer module (IVT FF00 service or ISSC transparent UART,
// plus Device Information), with a ZVVirtualPrinter behind it. It offers
// WriteValue, ReadValue, StartNotify/StopNotify with PropertiesChanged of
// Value, and AcquireWrite sockets, as BlueZ does.
//
// Threading: the service runs on a thread of its own (sdbus-c++ poll data
// plus the acquired sockets, all on that thread); the fault switches and
// counters may be used from any thread; printer() only after stop().

#include <zvprinter/ZVVirtualPrinter.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace zv::test {

struct FakeBluezConfig {
  ZVVirtualPrinterProfile profile = ZVVirtualPrinterProfile::IVT;
  std::string address = "00:AA:01:01:00:01";
  std::string name = "ZV-P1";
  /// ATT MTU that AcquireWrite reports.
  uint16_t mtu = 517;
  /// IVT: chunk size announced on FF03 when it is subscribed.
  uint16_t chunkSize = 244;
  /// IVT: credits granted on subscription, and again after as many writes.
  uint8_t credits = 10;
  /// Whether the write characteristic offers AcquireWrite (WriteAcquired).
  bool acquireWrite = true;
  /// ATT bearers of the link. With more than one, writes without response
  /// (WriteValue "command" and socket writes) are spread over them as
  /// bluetoothd does with Enhanced ATT, and of every group of that many the
  /// later ones overtake the earlier: each group reaches the printer in
  /// reverse. Write requests are never overtaken.
  unsigned bearers = 1;
  /// When set, a Generic Attribute service with a readable GATT Server
  /// Supported Features characteristic (0x2B3A) of this first octet.
  std::optional<uint8_t> serverFeatures;
  /// Idle time after the last data before the job counts as printed.
  double printFinishDelay = 0.3;
};

class FakeBluez {
public:
  FakeBluez(std::string busAddress, FakeBluezConfig config = {});
  ~FakeBluez();
  FakeBluez(const FakeBluez &) = delete;
  FakeBluez &operator=(const FakeBluez &) = delete;

  /// Whether it owns org.bluez on the bus.
  bool ready() const { return ready_.load(); }
  /// Every WriteValue is refused with org.bluez.Error.Failed from now on.
  void refuseWrites(bool refuse) { refuseWrites_.store(refuse); }
  /// The link drops (Connected false), as when the printer goes out of range.
  void dropLink() { dropRequested_.store(true); }
  /// Ends the service thread; the printer can be read after this.
  void stop();

  ZVVirtualPrinter &printer() { return *printer_; }
  uint64_t socketWrites() const { return socketWrites_.load(); }
  uint64_t busWrites() const { return busWrites_.load(); }
  /// WriteValue calls of type "request" (counted in busWrites() too).
  uint64_t requestWrites() const { return requestWrites_.load(); }
  /// The Transport of the last SetDiscoveryFilter ("" before one).
  std::string discoveryTransport() const;

  struct Service; // the D-Bus objects, owned by the service thread

private:
  friend struct Service;
  void run(std::string busAddress);

  FakeBluezConfig config_;
  std::shared_ptr<ZVVirtualPrinter> printer_;
  std::atomic<bool> ready_{false};
  std::atomic<bool> running_{true};
  std::atomic<bool> refuseWrites_{false};
  std::atomic<bool> dropRequested_{false};
  std::atomic<uint64_t> socketWrites_{0};
  std::atomic<uint64_t> busWrites_{0};
  std::atomic<uint64_t> requestWrites_{0};
  mutable std::mutex transportMutex_;
  std::string transport_;
  std::thread thread_;
};

} // namespace zv::test
