#include "backends/sim/sim_peripheral.h"

#include "backends/sim/virtual_printer_state.h"

#include <algorithm>

namespace zv::detail {

namespace {

constexpr uint64_t kRead = ZVBleCharacteristicPropertyRead;
constexpr uint64_t kNotify = ZVBleCharacteristicPropertyNotify;
constexpr uint64_t kWrite =
    ZVBleCharacteristicPropertyWrite | ZVBleCharacteristicPropertyWriteWithoutResponse;

bool wanted(const std::optional<std::vector<std::string>> &filter, const std::string &uuid) {
  return !filter || std::any_of(filter->begin(), filter->end(),
                                [&](const std::string &u) { return ZVBleUUIDString(u) == uuid; });
}

} // namespace

ZVError simError(ZVSimError code, std::string description) {
  return ZVError{"ZVSimErrorDomain", code, std::move(description)};
}

SimPeripheral::SimPeripheral(std::shared_ptr<ZVVirtualPrinter> printer,
                             std::weak_ptr<ZVSimCentral> central, ZVRunLoop &loop,
                             std::shared_ptr<SimCallLog> calls)
    : printer_(std::move(printer)), central_(std::move(central)), loop_(loop),
      calls_(std::move(calls)),
      schedule_(printer_->config().connectionInterval, printer_->config().packetsPerInterval) {}

SimPeripheral::~SimPeripheral() = default;

VirtualPrinterState &SimPeripheral::printerState() const {
  return *printer_->state_;
}

std::shared_ptr<SimPeripheral> SimPeripheral::self() {
  return std::static_pointer_cast<SimPeripheral>(shared_from_this());
}

std::string SimPeripheral::identifier() const {
  return printer_->identifier();
}

std::optional<std::string> SimPeripheral::name() const {
  const std::string &name = printer_->config().name;
  return name.empty() ? std::nullopt : std::optional(name);
}

void SimPeripheral::buildDatabase() {
  const auto &config = printer_->config();
  database_.clear();
  discovered_.clear();
  const auto add = [&](const char *service,
                       std::vector<std::pair<const char *, uint64_t>> characteristics) {
    Entry entry{std::make_shared<ZVBleService>(service), {}};
    for (const auto &[uuid, properties] : characteristics) {
      entry.characteristics.push_back(
          std::make_shared<ZVBleCharacteristic>(uuid, properties, entry.service));
    }
    database_.push_back(std::move(entry));
  };
  const auto profile = config.profile;
  if (profile == ZVVirtualPrinterProfile::ISSC || profile == ZVVirtualPrinterProfile::Both) {
    add(gatt::kIsscService, {{gatt::kIsscRead, kNotify}, {gatt::kIsscWrite, kWrite}});
  }
  if (config.deviceInformation && profile != ZVVirtualPrinterProfile::None) {
    add(gatt::kDeviceInformation, {{gatt::kModelNumber, kRead}, {gatt::kFirmwareRevision, kRead}});
  }
  if (profile == ZVVirtualPrinterProfile::IVT || profile == ZVVirtualPrinterProfile::Both) {
    add(gatt::kIvtService,
        {{gatt::kIvtRead, kNotify}, {gatt::kIvtWrite, kWrite}, {gatt::kIvtFlowControl, kNotify}});
  }
  if (profile == ZVVirtualPrinterProfile::None) {
    add(gatt::kBatteryService, {{gatt::kBatteryLevel, kRead | kNotify}});
  }
}

void SimPeripheral::at(double when, std::function<void(SimPeripheral &)> event) {
  std::weak_ptr<SimPeripheral> weak = self();
  const uint64_t generation = generation_;
  loop_.schedule(when - loop_.now(), [weak, generation, event = std::move(event)] {
    auto peripheral = weak.lock();
    if (peripheral && peripheral->generation_ == generation &&
        peripheral->state() == ZVBlePeripheralStateConnected) {
      event(*peripheral);
    }
  });
}

void SimPeripheral::nextEvent(std::function<void(SimPeripheral &)> event) {
  at(schedule_.nextSlot(loop_.now()), std::move(event));
}

void SimPeripheral::callDelegate(const std::function<void(ZVBlePeripheralDelegate &)> &call) {
  if (auto delegate = this->delegate()) call(*delegate);
}

void SimPeripheral::setConnecting() {
  state_ = ZVBlePeripheralStateConnecting;
}

void SimPeripheral::open() {
  ++generation_;
  schedule_.reset();
  buildDatabase();
  state_ = ZVBlePeripheralStateConnected;
  printerState().connected(self(), loop_);
}

void SimPeripheral::close() {
  const bool wasOpen = state_ == ZVBlePeripheralStateConnected;
  ++generation_;
  state_ = ZVBlePeripheralStateDisconnected;
  if (wasOpen) printerState().disconnected();
}

void SimPeripheral::dropLink() {
  if (state() != ZVBlePeripheralStateConnected) return;
  auto me = self();
  close();
  if (auto central = central_.lock()) central->linkLost(me);
}

void SimPeripheral::discoverServices(const std::optional<std::vector<std::string>> &uuids) {
  calls_->add("discoverServices");
  if (state() != ZVBlePeripheralStateConnected) return;
  const auto &faults = printer_->faults();
  if (faults.servicesNeverReported) return;
  const double late = std::max(0.0, faults.serviceDiscoveryDelay);
  at(schedule_.nextSlot(loop_.now() + late), [uuids](SimPeripheral &p) {
    p.discovered_.clear();
    for (const auto &entry : p.database_) {
      if (wanted(uuids, entry.service->uuid())) p.discovered_.push_back(entry.service);
    }
    auto me = p.self();
    p.callDelegate([&](auto &d) { d.didDiscoverServices(me, std::nullopt); });
  });
}

void SimPeripheral::discoverCharacteristics(const std::optional<std::vector<std::string>> &uuids,
                                            const std::shared_ptr<ZVBleService> &service) {
  calls_->add("discoverCharacteristics " + (service ? service->uuid() : std::string("null")));
  if (state() != ZVBlePeripheralStateConnected || !service) return;
  nextEvent([uuids, service](SimPeripheral &p) {
    const auto entry = std::find_if(p.database_.begin(), p.database_.end(),
                                    [&](const Entry &e) { return e.service == service; });
    if (entry == p.database_.end()) return; // a service of an earlier link
    std::vector<std::shared_ptr<ZVBleCharacteristic>> found;
    for (const auto &characteristic : entry->characteristics) {
      if (wanted(uuids, characteristic->uuid())) found.push_back(characteristic);
    }
    service->setCharacteristics(std::move(found));
    auto me = p.self();
    p.callDelegate([&](auto &d) { d.didDiscoverCharacteristics(me, service, std::nullopt); });
  });
}

void SimPeripheral::readValue(const std::shared_ptr<ZVBleCharacteristic> &characteristic) {
  calls_->add("readValue " + (characteristic ? characteristic->uuid() : std::string("null")));
  if (state() != ZVBlePeripheralStateConnected || !characteristic) return;
  nextEvent([characteristic](SimPeripheral &p) {
    std::optional<ZVError> error;
    const auto &config = p.printer_->config();
    const auto text = [](const std::string &s) { return ZVData(s.begin(), s.end()); };
    if (!(characteristic->properties() & kRead)) {
      error = simError(ZVSimErrorNotSupported, "characteristic cannot be read");
    } else if (characteristic->uuid() == gatt::kModelNumber) {
      characteristic->setValue(text(config.modelName));
    } else if (characteristic->uuid() == gatt::kFirmwareRevision) {
      characteristic->setValue(text(config.firmwareVersion));
    } else if (characteristic->uuid() == gatt::kBatteryLevel) {
      characteristic->setValue({100});
    }
    auto me = p.self();
    p.callDelegate([&](auto &d) { d.didUpdateValue(me, characteristic, error); });
  });
}

void SimPeripheral::setNotifyValue(bool enabled,
                                   const std::shared_ptr<ZVBleCharacteristic> &characteristic) {
  calls_->add("setNotifyValue " + (characteristic ? characteristic->uuid() : std::string("null")) +
              (enabled ? " 1" : " 0"));
  if (state() != ZVBlePeripheralStateConnected || !characteristic) return;
  nextEvent([enabled, characteristic](SimPeripheral &p) {
    std::optional<ZVError> error;
    if (p.printer_->faults().failedSubscriptions.contains(characteristic->uuid())) {
      error = simError(ZVSimErrorNotSupported, "subscription refused");
    } else if (characteristic->properties() & kNotify) {
      characteristic->setNotifying(enabled);
    } else {
      error = simError(ZVSimErrorNotSupported, "characteristic cannot notify");
    }
    auto me = p.self();
    p.callDelegate([&](auto &d) { d.didUpdateNotificationState(me, characteristic, error); });
    if (!error) p.printerState().subscribed(characteristic->uuid(), enabled);
  });
}

void SimPeripheral::readRSSI() {
  calls_->add("readRSSI");
  if (state() != ZVBlePeripheralStateConnected) return;
  nextEvent([](SimPeripheral &p) {
    auto me = p.self();
    const int64_t rssi = p.printer_->config().rssi;
    p.callDelegate([&](auto &d) { d.didReadRSSI(me, rssi, std::nullopt); });
  });
}

void SimPeripheral::writeValue(const ZVData &value,
                               const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                               int64_t type) {
  calls_->add("writeValue " + (characteristic ? characteristic->uuid() : std::string("null")) +
              " " + std::to_string(value.size()) + " " + std::to_string(type));
  // Called from the write queue's thread in real time: hop to the loop.
  std::weak_ptr<SimPeripheral> weak = self();
  loop_.post([weak, value, characteristic, type] {
    if (auto peripheral = weak.lock()) peripheral->transmit(value, characteristic, type);
  });
}

void SimPeripheral::transmit(const ZVData &value,
                             const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                             int64_t type) {
  if (state() != ZVBlePeripheralStateConnected || !characteristic) return;
  const bool withResponse = type == ZVBleWriteWithResponse;
  std::optional<ZVError> refusal;
  if (!(characteristic->properties() & kWrite)) {
    refusal = simError(ZVSimErrorNotSupported, "characteristic cannot be written");
  } else if (value.size() > printer_->config().attPayloadLimit) {
    refusal = simError(ZVSimErrorValueTooLong, "value longer than the ATT payload limit");
  }
  // The host spends a credit when it writes, not when the packet arrives.
  using Credit = VirtualPrinterState::Credit;
  Credit credit = Credit::NotNeeded;
  if (!refusal && !withResponse && characteristic->uuid() == gatt::kIvtWrite) {
    credit = printerState().spendCredit() ? Credit::Spent : Credit::Missing;
  }
  at(schedule_.nextSlot(loop_.now(), LinkSchedule::Direction::ToPrinter), [=](SimPeripheral &p) {
    std::optional<ZVError> error = refusal;
    bool answer = withResponse;
    if (refusal) {
      p.printerState().engine.note("write to " + characteristic->uuid() +
                                   " refused: " + refusal->localizedDescription);
    } else {
      const WriteOutcome outcome = p.printerState().written(characteristic->uuid(), value, credit);
      answer = answer && outcome.acknowledged;
      if (outcome.rejected) {
        error = simError(ZVSimErrorWriteRejected, "the module refused the write");
      }
    }
    if (!answer) return;
    const double ackDelay = std::max(0.0, p.printer_->config().acknowledgementDelay);
    p.at(p.schedule_.nextSlot(p.loop_.now() + ackDelay), [=](SimPeripheral &q) {
      auto me = q.self();
      q.callDelegate([&](auto &d) { d.didWriteValue(me, characteristic, error); });
    });
  });
}

void SimPeripheral::notify(const std::string &uuid, ZVData value) {
  if (state() != ZVBlePeripheralStateConnected) return;
  nextEvent([uuid, value = std::move(value)](SimPeripheral &p) {
    for (const auto &service : p.discovered_) {
      for (const auto &characteristic : service->characteristics()) {
        if (characteristic->uuid() != uuid || !characteristic->isNotifying()) continue;
        if (uuid == gatt::kIvtFlowControl && value.size() >= 2 && value[0] == 0x01) {
          p.printerState().hostCredits += value[1];
        }
        characteristic->setValue(value);
        auto me = p.self();
        p.callDelegate([&](auto &d) { d.didUpdateValue(me, characteristic, std::nullopt); });
        return;
      }
    }
  });
}

void SimPeripheral::inject(std::string uuid, ZVData value, std::optional<ZVError> error,
                           double delay) {
  if (state() != ZVBlePeripheralStateConnected) return;
  at(loop_.now() + std::max(0.0, delay), [uuid = std::move(uuid), value = std::move(value),
                                          error = std::move(error)](SimPeripheral &p) {
    for (const auto &service : p.discovered_) {
      for (const auto &characteristic : service->characteristics()) {
        if (characteristic->uuid() != uuid) continue;
        // An injected grant is one the host may spend.
        if (uuid == gatt::kIvtFlowControl && !error && value.size() >= 2 && value[0] == 0x01) {
          p.printerState().hostCredits += value[1];
        }
        characteristic->setValue(value);
        auto me = p.self();
        p.callDelegate([&](auto &d) { d.didUpdateValue(me, characteristic, error); });
        return;
      }
    }
  });
}

} // namespace zv::detail
