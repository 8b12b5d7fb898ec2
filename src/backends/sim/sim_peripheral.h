#pragma once

// The simulated peripheral: a ZVVirtualPrinter as the Bluetooth port sees it,
// with the GATT database of its module and the timing of its link.

#include "backends/sim/link_schedule.h"
#include "backends/sim/sim_call_log.h"

#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace zv::detail {

struct VirtualPrinterState;

ZVError simError(ZVSimError code, std::string description);

class SimPeripheral final : public ZVBlePeripheral {
public:
  SimPeripheral(std::shared_ptr<ZVVirtualPrinter> printer, std::weak_ptr<ZVSimCentral> central,
                ZVRunLoop &loop, std::shared_ptr<SimCallLog> calls);
  ~SimPeripheral() override;

  std::string identifier() const override;
  std::optional<std::string> name() const override;
  int64_t state() const override { return state_.load(); }
  std::vector<std::shared_ptr<ZVBleService>> services() const override { return discovered_; }
  void discoverServices(const std::optional<std::vector<std::string>> &uuids) override;
  void discoverCharacteristics(const std::optional<std::vector<std::string>> &uuids,
                               const std::shared_ptr<ZVBleService> &service) override;
  void readValue(const std::shared_ptr<ZVBleCharacteristic> &characteristic) override;
  void writeValue(const ZVData &value, const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                  int64_t type) override;
  void setNotifyValue(bool enabled,
                      const std::shared_ptr<ZVBleCharacteristic> &characteristic) override;
  void readRSSI() override;

  // Central side.
  const std::shared_ptr<ZVVirtualPrinter> &printer() const { return printer_; }
  void setConnecting();
  void open();
  void close();

  // Printer side: a notification of @p uuid, sent at the next free event.
  void notify(const std::string &uuid, ZVData value);
  // Printer side: the link breaks (reported to the central with an error).
  void dropLink();
  // Test side: @p value on characteristic @p uuid after @p delay seconds,
  // reported with @p error, whether or not the host subscribed.
  void inject(std::string uuid, ZVData value, std::optional<ZVError> error, double delay);

private:
  VirtualPrinterState &printerState() const;
  std::shared_ptr<SimPeripheral> self();
  void buildDatabase();
  void transmit(const ZVData &value, const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                int64_t type);
  /// Runs @p event at loop time @p when, if this link is still open then.
  void at(double when, std::function<void(SimPeripheral &)> event);
  /// Runs @p event at the next connection event with room.
  void nextEvent(std::function<void(SimPeripheral &)> event);
  void callDelegate(const std::function<void(ZVBlePeripheralDelegate &)> &call);

  std::shared_ptr<ZVVirtualPrinter> printer_;
  std::weak_ptr<ZVSimCentral> central_;
  ZVRunLoop &loop_;
  std::shared_ptr<SimCallLog> calls_;
  std::atomic<int64_t> state_{ZVBlePeripheralStateDisconnected};
  uint64_t generation_ = 0; // bumped when a link opens or closes
  LinkSchedule schedule_;
  struct Entry {
    std::shared_ptr<ZVBleService> service;
    std::vector<std::shared_ptr<ZVBleCharacteristic>> characteristics; // once discovered
  };
  std::vector<Entry> database_; // the module's GATT database, fresh for every link
  std::vector<std::shared_ptr<ZVBleService>> discovered_;
};

} // namespace zv::detail
