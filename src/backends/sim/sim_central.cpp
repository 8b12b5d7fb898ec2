#include <zvprinter/ZVSimCentral.h>

#include "backends/sim/sim_call_log.h"
#include "backends/sim/sim_peripheral.h"

#include <algorithm>
#include <cctype>

using zv::detail::SimPeripheral;

namespace {

std::vector<std::string> advertisedServices(const ZVVirtualPrinterConfig &config) {
  switch (config.profile) {
  case ZVVirtualPrinterProfile::ISSC:
    return {"49535343-FE7D-4AE5-8FA9-9FAFD205E455"};
  case ZVVirtualPrinterProfile::IVT:
    return {"FF00"};
  case ZVVirtualPrinterProfile::Both:
    return {"49535343-FE7D-4AE5-8FA9-9FAFD205E455", "FF00"};
  case ZVVirtualPrinterProfile::None:
    break;
  }
  return {};
}

} // namespace

ZVSimCentral::ZVSimCentral(ZVRunLoop &loop, bool poweredOn)
    : loop_(loop), calls_(std::make_shared<zv::detail::SimCallLog>()) {
  // Like a platform central, the first state arrives a moment after creation.
  loop_.post([this, alive = std::weak_ptr<int>(alive_), poweredOn] {
    if (alive.expired()) return;
    state_ = poweredOn ? ZVBleCentralStatePoweredOn : ZVBleCentralStatePoweredOff;
    if (auto d = delegate()) d->didUpdateState(*this);
  });
}

ZVSimCentral::~ZVSimCentral() {
  for (const auto &peripheral : peripherals_)
    peripheral->close();
}

std::shared_ptr<SimPeripheral> ZVSimCentral::find(const std::shared_ptr<ZVBlePeripheral> &p) const {
  for (const auto &peripheral : peripherals_) {
    if (peripheral == p) return peripheral;
  }
  return nullptr;
}

std::shared_ptr<ZVBlePeripheral>
ZVSimCentral::peripheralFor(const std::shared_ptr<ZVVirtualPrinter> &printer) {
  for (const auto &peripheral : peripherals_) {
    if (peripheral->printer() == printer) return peripheral;
  }
  return nullptr;
}

void ZVSimCentral::addPrinter(const std::shared_ptr<ZVVirtualPrinter> &printer) {
  if (!printer) return;
  auto peripheral = std::static_pointer_cast<SimPeripheral>(peripheralFor(printer));
  if (!peripheral) {
    peripheral = std::make_shared<SimPeripheral>(printer, weak_from_this(), loop_, calls_);
    peripherals_.push_back(peripheral);
  }
  inRange_.insert(printer->identifier());
  if (scanning_) report(peripheral);
  if (peripheral->state() == ZVBlePeripheralStateConnecting) attempt(peripheral);
}

void ZVSimCentral::removePrinter(const std::shared_ptr<ZVVirtualPrinter> &printer) {
  if (!printer) return;
  inRange_.erase(printer->identifier());
  if (auto peripheral = std::static_pointer_cast<SimPeripheral>(peripheralFor(printer))) {
    if (peripheral->state() == ZVBlePeripheralStateConnected) {
      peripheral->dropLink();
    } else {
      peripheral->close();
    }
  }
}

void ZVSimCentral::advertiseAgain(const std::shared_ptr<ZVVirtualPrinter> &printer) {
  if (!printer) return;
  reported_.erase(printer->identifier());
  if (auto peripheral = std::static_pointer_cast<SimPeripheral>(peripheralFor(printer))) {
    if (scanning_ && inRange_.contains(printer->identifier())) report(peripheral);
  }
}

void ZVSimCentral::setPoweredOn(bool on) {
  setState(on ? ZVBleCentralStatePoweredOn : ZVBleCentralStatePoweredOff);
}

std::vector<std::string> ZVSimCentral::calls() const {
  return calls_->lines();
}

void ZVSimCentral::clearCalls() {
  calls_->clear();
}

void ZVSimCentral::injectValue(const std::shared_ptr<ZVVirtualPrinter> &printer,
                               const std::string &uuid, ZVData value, std::optional<ZVError> error,
                               double delay) {
  if (auto peripheral = std::static_pointer_cast<SimPeripheral>(peripheralFor(printer))) {
    peripheral->inject(ZVBleUUIDString(uuid), std::move(value), std::move(error), delay);
  }
}

void ZVSimCentral::setState(int64_t next) {
  loop_.post([this, alive = std::weak_ptr<int>(alive_), next] {
    if (alive.expired()) return;
    if (state_ == next) return;
    state_ = next;
    if (next != ZVBleCentralStatePoweredOn) {
      scanning_ = false;
      for (const auto &peripheral : peripherals_)
        peripheral->close();
    }
    if (auto d = delegate()) d->didUpdateState(*this);
  });
}

void ZVSimCentral::report(const std::shared_ptr<SimPeripheral> &peripheral) {
  std::weak_ptr<SimPeripheral> weak = peripheral;
  loop_.post([this, alive = std::weak_ptr<int>(alive_), weak] {
    if (alive.expired()) return;
    auto p = weak.lock();
    if (!p || !scanning_ || !inRange_.contains(p->identifier())) return;
    const auto &config = p->printer()->config();
    ZVBleAdvertisement advertisement;
    advertisement.localName = config.advertisedName;
    if (!config.manufacturerData.empty()) advertisement.manufacturerData = config.manufacturerData;
    if (config.advertiseConnectableFlag) advertisement.isConnectable = config.connectable ? 1 : 0;
    advertisement.serviceUUIDs = advertisedServices(config);
    if (scanFilter_ && !std::any_of(scanFilter_->begin(), scanFilter_->end(), [&](auto &uuid) {
          return std::find(advertisement.serviceUUIDs.begin(), advertisement.serviceUUIDs.end(),
                           ZVBleUUIDString(uuid)) != advertisement.serviceUUIDs.end();
        })) {
      return;
    }
    if (!allowDuplicates_ && !reported_.insert(p->identifier()).second) return;
    if (auto d = delegate()) d->didDiscoverPeripheral(*this, p, advertisement, config.rssi);
  });
}

void ZVSimCentral::scanForPeripherals(const std::optional<std::vector<std::string>> &serviceUUIDs,
                                      bool allowDuplicates) {
  calls_->add("scanForPeripherals");
  if (state_ != ZVBleCentralStatePoweredOn) return;
  scanning_ = true;
  allowDuplicates_ = allowDuplicates;
  scanFilter_ = serviceUUIDs;
  reported_.clear();
  for (const auto &peripheral : peripherals_) {
    if (inRange_.contains(peripheral->identifier())) report(peripheral);
  }
}

void ZVSimCentral::stopScan() {
  calls_->add("stopScan");
  scanning_ = false;
}

void ZVSimCentral::connect(const std::shared_ptr<ZVBlePeripheral> &p) {
  auto peripheral = find(p);
  const std::string line = "connect " + (p ? p->identifier() : std::string("null"));
  if (!peripheral || state_ != ZVBleCentralStatePoweredOn) {
    calls_->add(line + " ignored");
    return;
  }
  // A second request for a peripheral already connecting (or connected)
  // changes nothing: the first one completes as it would have.
  if (peripheral->state() != ZVBlePeripheralStateDisconnected) {
    calls_->add(line + " ignored");
    return;
  }
  calls_->add(line);
  peripheral->setConnecting();
  attempt(peripheral);
}

// A pending connection completes once the printer is in range and answers,
// however long that takes, as on the platform.
void ZVSimCentral::attempt(const std::shared_ptr<SimPeripheral> &peripheral) {
  auto &faults = peripheral->printer()->faults();
  if (faults.ignoreConnection || !inRange_.contains(peripheral->identifier())) return;
  std::weak_ptr<SimPeripheral> weak = peripheral;
  if (faults.refuseConnection || !peripheral->printer()->config().connectable) {
    // The refusal takes as long as an answer would.
    loop_.schedule(peripheral->printer()->config().connectDelay,
                   [this, alive = std::weak_ptr<int>(alive_), weak] {
                     if (alive.expired()) return;
                     auto p = weak.lock();
                     if (!p || p->state() != ZVBlePeripheralStateConnecting) return;
                     p->close();
                     if (auto d = delegate()) {
                       d->didFailToConnectPeripheral(
                           *this, p,
                           zv::detail::simError(ZVSimErrorConnectionRefused, "connection refused"));
                     }
                   });
    return;
  }
  loop_.schedule(peripheral->printer()->config().connectDelay,
                 [this, alive = std::weak_ptr<int>(alive_), weak] {
                   if (alive.expired()) return;
                   auto p = weak.lock();
                   if (!p || p->state() != ZVBlePeripheralStateConnecting) return;
                   p->open();
                   if (auto d = delegate()) d->didConnectPeripheral(*this, p);
                 });
}

void ZVSimCentral::cancelPeripheralConnection(const std::shared_ptr<ZVBlePeripheral> &p) {
  calls_->add("cancelPeripheralConnection " + (p ? p->identifier() : std::string("null")));
  auto peripheral = find(p);
  if (!peripheral) return;
  const bool wasOpen = peripheral->state() == ZVBlePeripheralStateConnected;
  peripheral->close();
  if (!wasOpen) return;
  std::weak_ptr<SimPeripheral> weak = peripheral;
  loop_.post([this, alive = std::weak_ptr<int>(alive_), weak] {
    if (alive.expired()) return;
    auto p = weak.lock();
    if (!p) return;
    if (auto d = delegate()) d->didDisconnectPeripheral(*this, p, std::nullopt);
  });
}

void ZVSimCentral::linkLost(const std::shared_ptr<SimPeripheral> &peripheral) {
  std::weak_ptr<SimPeripheral> weak = peripheral;
  loop_.post([this, alive = std::weak_ptr<int>(alive_), weak] {
    if (alive.expired()) return;
    auto p = weak.lock();
    if (!p) return;
    if (auto d = delegate()) {
      d->didDisconnectPeripheral(*this, p, zv::detail::simError(ZVSimErrorLinkLost, "link lost"));
    }
  });
}

std::vector<std::shared_ptr<ZVBlePeripheral>>
ZVSimCentral::retrievePeripherals(const std::vector<std::string> &identifiers) {
  std::string line = "retrievePeripherals";
  for (const auto &identifier : identifiers)
    line += " " + identifier;
  calls_->add(line);
  std::vector<std::shared_ptr<ZVBlePeripheral>> found;
  for (const auto &identifier : identifiers) {
    const std::string wanted = ZVBleUUIDString(identifier);
    for (const auto &peripheral : peripherals_) {
      if (peripheral->identifier() == wanted) found.push_back(peripheral);
    }
  }
  return found;
}

bool ZVSimCentral::isValidIdentifier(std::string_view identifier) const {
  if (identifier.size() != 36) return false;
  for (size_t i = 0; i < identifier.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? identifier[i] != '-' : !std::isxdigit(static_cast<unsigned char>(identifier[i]))) {
      return false;
    }
  }
  return true;
}
