#pragma once

// A BlueZ device as the Bluetooth port sees it: its link state, the GATT
// objects under it, and the ways to read, write and be notified.

#include "backends/bluez/bluez_bus.h"
#include "backends/bluez/write_socket.h"

#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVBluezCentral.h>
#include <zvprinter/ZVRunLoop.h>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zv::detail {

class BluezPeripheral final : public ZVBlePeripheral {
public:
  BluezPeripheral(std::string address, std::string path,
                  std::weak_ptr<ZVBluezCentral::Impl> central, std::shared_ptr<BluezBus> bus,
                  ZVRunLoop &loop);

  std::string identifier() const override { return address_; }
  std::optional<std::string> name() const override { return name_; }
  int64_t state() const override { return state_.load(); }
  std::vector<std::shared_ptr<ZVBleService>> services() const override { return services_; }
  void discoverServices(const std::optional<std::vector<std::string>> &uuids) override;
  void discoverCharacteristics(const std::optional<std::vector<std::string>> &uuids,
                               const std::shared_ptr<ZVBleService> &service) override;
  void readValue(const std::shared_ptr<ZVBleCharacteristic> &characteristic) override;
  void writeValue(const ZVData &value, const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                  int64_t type) override;
  void setNotifyValue(bool enabled,
                      const std::shared_ptr<ZVBleCharacteristic> &characteristic) override;
  void readRSSI() override;

  // Central side, main queue.
  const std::string &path() const { return path_; }
  void setName(std::optional<std::string> name) { name_ = std::move(name); }
  /// Starts a connect attempt and returns its number.
  uint64_t beginAttempt();
  uint64_t attempt() const { return attempt_; }
  void setState(ZVBlePeripheralState state) { state_.store(state); }
  /// Marks the coming close as asked for (cancelPeripheralConnection).
  void setClosing(bool closing) { closing_ = closing; }
  bool isClosing() const { return closing_; }
  /// The link opened: a fresh GATT view.
  void linkOpened();
  /// The link closed: sockets and characteristics of this link are dropped.
  void linkClosed();
  /// ServicesResolved became true.
  void servicesResolved();
  /// PropertiesChanged of Value on the characteristic at @p path.
  void valueChanged(const std::string &path, ZVData value);

private:
  struct Channel {
    std::string path;
    std::shared_ptr<ZVBleCharacteristic> characteristic;
    bool notifyRequested = false;
    bool acquirable = false;             // BlueZ offers AcquireWrite for it
    std::shared_ptr<WriteSocket> socket; // the acquired socket
    bool ordered = false;                // writes without response go as a chain of requests
  };
  struct OrderedWrite {
    std::string path;
    ZVData value;
  };

  std::shared_ptr<BluezPeripheral> self();
  std::shared_ptr<ZVBluezCentral::Impl> central() const { return central_.lock(); }
  void collectServices();
  void acquireWrites(std::vector<Channel> channels, std::shared_ptr<ZVBleService> service);
  /// Runs @p block on the main queue if this link is still the one open now.
  void onLink(uint64_t link, std::function<void(BluezPeripheral &)> block);
  /// The same from the bus thread, which never holds a strong reference.
  static void postOnLink(ZVRunLoop &loop, std::weak_ptr<ZVBlePeripheral> weak, uint64_t link,
                         std::function<void(BluezPeripheral &)> block);
  std::optional<Channel> channel(const std::shared_ptr<ZVBleCharacteristic> &c) const;
  std::string servicePath(const std::shared_ptr<ZVBleService> &service) const;
  void writeOverBus(const ZVData &value, const Channel &channel, int64_t type);
  /// Decides, once per link, whether data writes must keep their order by
  /// going as requests (several ATT bearers, or not known to be one), then
  /// runs @p then on the main queue with the answer.
  void decideWriteOrder(std::function<void(BluezPeripheral &, bool ordered)> then);
  /// Queues a write without response of an ordered channel and sends it
  /// when every earlier one has been answered.
  void writeOrdered(const ZVData &value, const Channel &channel);
  /// Sends the head of the ordered queue (bus thread or any thread).
  void sendNextOrdered(uint64_t link);
  void callDelegate(const std::function<void(ZVBlePeripheralDelegate &)> &call);

  const std::string address_;
  const std::string path_;
  std::weak_ptr<ZVBluezCentral::Impl> central_;
  std::shared_ptr<BluezBus> bus_;
  ZVRunLoop &loop_;
  std::optional<std::string> name_;
  std::atomic<int64_t> state_{ZVBlePeripheralStateDisconnected};
  uint64_t attempt_ = 0;
  bool closing_ = false;
  std::atomic<uint64_t> link_{0}; // bumped whenever a link opens or closes
  std::optional<std::optional<std::vector<std::string>>> pendingDiscovery_;
  std::vector<std::shared_ptr<ZVBleService>> services_;
  std::map<std::string, std::shared_ptr<ZVBleService>> servicesByPath_;

  mutable std::mutex channelsMutex_; // channels_ is read by writeValue() on any thread
  std::vector<Channel> channels_;
  std::optional<bool> orderedLink_; // the decision for the open link, main queue

  std::mutex orderedMutex_; // writeValue() on any thread, replies on the bus thread
  std::deque<OrderedWrite> orderedQueue_;
  bool orderedInFlight_ = false;
};

} // namespace zv::detail
