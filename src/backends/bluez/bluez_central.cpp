#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_peripheral.h"

#include "platform/log.h"

namespace bluez = zv::detail::bluez;
using zv::detail::BluezPeripheral;

ZVBluezCentral::ZVBluezCentral(ZVBluezOptions options, ZVRunLoop &loop)
    : impl_(std::make_shared<Impl>(*this, std::move(options), loop)) {}

ZVBluezCentral::~ZVBluezCentral() = default;

std::shared_ptr<ZVBluezCentral> ZVBluezCentral::make(ZVBluezOptions options, ZVRunLoop &loop) {
  auto central = std::make_shared<ZVBluezCentral>(std::move(options), loop);
  central->impl_->start();
  return central;
}

bool ZVBluezCentral::isDeviceAddress(std::string_view identifier) {
  return zv::detail::canonicalAddress(identifier).has_value();
}

int64_t ZVBluezCentral::state() const {
  return impl_->state;
}
bool ZVBluezCentral::isScanning() const {
  return impl_->scanning;
}
bool ZVBluezCentral::isValidIdentifier(std::string_view identifier) const {
  return isDeviceAddress(identifier);
}

std::string ZVBluezCentral::adapterName() const {
  const std::string &path = impl_->adapterPath;
  return path.empty() ? "" : path.substr(path.rfind('/') + 1);
}

std::string ZVBluezCentral::unavailableReason() const {
  return impl_->reason;
}

void ZVBluezCentral::connect(const std::shared_ptr<ZVBlePeripheral> &peripheral) {
  auto own = impl_->own(peripheral);
  if (!own || impl_->state != ZVBleCentralStatePoweredOn) return;
  if (own->state() != ZVBlePeripheralStateDisconnected) return;
  const uint64_t attempt = own->beginAttempt();
  own->setState(ZVBlePeripheralStateConnecting);
  std::weak_ptr<Impl> weak = impl_;
  ZVRunLoop *loop = &impl_->loop;
  const std::string address = own->identifier();
  impl_->bus->call(own->path(), bluez::kDevice, "Connect", {},
                   [loop, weak, address, attempt](sdbus::MethodReply &, const sdbus::Error *error) {
                     std::optional<ZVError> failure;
                     if (error) failure = zv::detail::bluezError(*error);
                     Impl::postTo(*loop, weak, [address, attempt, failure](Impl &self) {
                       self.connectReplied(address, attempt, failure);
                     });
                   });
}

void ZVBluezCentral::cancelPeripheralConnection(
    const std::shared_ptr<ZVBlePeripheral> &peripheral) {
  auto own = impl_->own(peripheral);
  if (!own || !impl_->bus) return;
  const int64_t linkState = own->state();
  if (linkState == ZVBlePeripheralStateDisconnected) return;
  std::weak_ptr<Impl> weak = impl_;
  ZVRunLoop *loop = &impl_->loop;
  const std::string address = own->identifier();
  const uint64_t attempt = own->attempt();
  if (linkState == ZVBlePeripheralStateConnecting) {
    // The attempt just ends; BlueZ aborts a pending Connect on Disconnect.
    own->beginAttempt();
    own->setState(ZVBlePeripheralStateDisconnected);
    impl_->bus->call(own->path(), bluez::kDevice, "Disconnect", {}, {});
    return;
  }
  own->setClosing(true);
  impl_->bus->call(own->path(), bluez::kDevice, "Disconnect", {},
                   [loop, weak, address, attempt](sdbus::MethodReply &, const sdbus::Error *) {
                     // Connected false normally came first; if not (BlueZ
                     // refused, or the signal is late) the link still ends
                     // here, as the caller asked.
                     Impl::postTo(*loop, weak, [address, attempt](Impl &self) {
                       auto p = self.peripheralFor(address);
                       if (p && p->attempt() == attempt &&
                           p->state() == ZVBlePeripheralStateConnected) {
                         self.closeLink(*p, std::nullopt);
                       }
                     });
                   });
}

std::vector<std::shared_ptr<ZVBlePeripheral>>
ZVBluezCentral::retrievePeripherals(const std::vector<std::string> &identifiers) {
  std::vector<std::shared_ptr<ZVBlePeripheral>> found;
  for (const auto &identifier : identifiers) {
    const auto address = zv::detail::canonicalAddress(identifier);
    if (!address) continue;
    if (impl_->peripherals.contains(*address) ||
        (!impl_->adapterPath.empty() &&
         impl_->properties(zv::detail::devicePath(impl_->adapterPath, *address), bluez::kDevice))) {
      found.push_back(impl_->peripheralFor(*address));
    }
  }
  return found;
}

// --- Impl: links -----------------------------------------------------------

ZVBluezCentral::Impl::Impl(ZVBluezCentral &owner, ZVBluezOptions options, ZVRunLoop &loop)
    : owner(owner), options(std::move(options)), loop(loop) {}

ZVBluezCentral::Impl::~Impl() = default;

void ZVBluezCentral::Impl::post(std::function<void(Impl &)> block) {
  postTo(loop, weak_from_this(), std::move(block));
}

void ZVBluezCentral::Impl::postTo(ZVRunLoop &loop, std::weak_ptr<Impl> weak,
                                  std::function<void(Impl &)> block) {
  loop.post([weak = std::move(weak), block = std::move(block)] {
    if (auto self = weak.lock()) block(*self);
  });
}

void ZVBluezCentral::Impl::callDelegate(const std::function<void(ZVBleCentralDelegate &)> &call) {
  if (auto delegate = owner.delegate()) call(*delegate);
}

std::shared_ptr<BluezPeripheral> ZVBluezCentral::Impl::peripheralFor(const std::string &address) {
  auto &slot = peripherals[address];
  if (!slot) {
    // The device path is fixed by the adapter; a peripheral made before an
    // adapter is known cannot connect (there is no device to call).
    const std::string path =
        adapterPath.empty() ? "" : zv::detail::devicePath(adapterPath, address);
    slot = std::make_shared<BluezPeripheral>(address, path, weak_from_this(), bus, loop);
  }
  if (auto device = properties(slot->path(), bluez::kDevice)) {
    if (auto name = zv::detail::deviceName(*device)) slot->setName(name);
  }
  return slot;
}

std::shared_ptr<BluezPeripheral> ZVBluezCentral::Impl::peripheralAt(const std::string &path) {
  for (auto &[address, peripheral] : peripherals) {
    if (peripheral->path() == path) return peripheral;
  }
  return nullptr;
}

std::shared_ptr<BluezPeripheral>
ZVBluezCentral::Impl::own(const std::shared_ptr<ZVBlePeripheral> &peripheral) const {
  if (!peripheral) return nullptr;
  const auto it = peripherals.find(peripheral->identifier());
  if (it == peripherals.end() || it->second != peripheral) return nullptr;
  return it->second;
}

void ZVBluezCentral::Impl::connectReplied(const std::string &address, uint64_t attempt,
                                          std::optional<ZVError> error) {
  auto p = peripheralFor(address);
  if (p->attempt() != attempt || p->state() != ZVBlePeripheralStateConnecting) return;
  if (!error) {
    openLink(*p);
    return;
  }
  p->setState(ZVBlePeripheralStateDisconnected);
  callDelegate([&](ZVBleCentralDelegate &d) { d.didFailToConnectPeripheral(owner, p, error); });
}

void ZVBluezCentral::Impl::connectedChanged(BluezPeripheral &p, bool connected) {
  if (connected) {
    if (p.state() == ZVBlePeripheralStateConnecting) openLink(p);
    return;
  }
  if (p.state() != ZVBlePeripheralStateConnected) return;
  if (p.isClosing()) {
    closeLink(p, std::nullopt);
  } else {
    closeLink(p, zv::detail::bluezError(ZVBluezErrorLinkLost,
                                        "the link to " + p.identifier() + " was lost"));
  }
}

void ZVBluezCentral::Impl::openLink(BluezPeripheral &p) {
  p.setState(ZVBlePeripheralStateConnected);
  p.setClosing(false);
  p.linkOpened();
  auto shared = peripheralFor(p.identifier());
  callDelegate([&](ZVBleCentralDelegate &d) { d.didConnectPeripheral(owner, shared); });
}

void ZVBluezCentral::Impl::closeLink(BluezPeripheral &p, std::optional<ZVError> error) {
  const bool orderly = p.isClosing();
  p.setState(ZVBlePeripheralStateDisconnected);
  p.setClosing(false);
  p.beginAttempt();
  p.linkClosed();
  if (orderly) error.reset();
  auto shared = peripheralFor(p.identifier());
  callDelegate([&](ZVBleCentralDelegate &d) { d.didDisconnectPeripheral(owner, shared, error); });
}

void ZVBluezCentral::Impl::dropLink(BluezPeripheral &p, ZVError error) {
  if (p.state() != ZVBlePeripheralStateConnected) return;
  zv::detail::logLine("bluez: " + error.localizedDescription + "; closing the link");
  bus->call(p.path(), bluez::kDevice, "Disconnect", {}, {});
  p.setClosing(false);
  closeLink(p, std::move(error));
}

void ZVBluezCentral::Impl::forgetLinks() {
  scanning = false;
  for (auto &[address, p] : peripherals) {
    if (p->state() == ZVBlePeripheralStateDisconnected) continue;
    p->beginAttempt();
    p->setState(ZVBlePeripheralStateDisconnected);
    p->setClosing(false);
    p->linkClosed();
  }
}
