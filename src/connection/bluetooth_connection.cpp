// ZVBluetoothManager: opening and closing links, the 4.0 s connect
// time-out, and the adapter being switched on and off.

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVPeripheralManager.h>

namespace {

constexpr double kConnectTimeout = 4.0;

ZVConnectInterface &facade() {
  return ZVConnectInterface::shared();
}

bool samePeripheral(const std::shared_ptr<ZVPrinterMessage> &record,
                    const std::shared_ptr<ZVBlePeripheral> &peripheral) {
  return record && record->peripheral && record->peripheral == peripheral;
}

void invalidate(std::shared_ptr<ZVTimer> &timer) {
  if (timer) timer->invalidate();
  timer.reset();
}

} // namespace

void ZVBluetoothManager::reportConnectFail(const ZVError &error) {
  if (auto delegate = facade().delegate()) delegate->didConnectFail(error);
}

// A connect time-out acts only while it is still the timer of its field;
// one that was cleared or replaced belongs to an attempt that has ended.
std::shared_ptr<ZVTimer> ZVBluetoothManager::armConnectTimeout() {
  auto holder = std::make_shared<std::weak_ptr<ZVTimer>>();
  auto timer = ZVRunLoop::main().schedule(kConnectTimeout, [this, holder] {
    const auto self = holder->lock();
    if (!self || (self != connectTimeoutTimer_ && self != systemTimer_)) return;
    whenConnectTimeout();
  });
  *holder = timer;
  return timer;
}

void ZVBluetoothManager::connectPrinter(const std::shared_ptr<ZVPrinterMessage> &record) {
  if (isConnecting_) return;
  isConnecting_ = true;
  isConnectFail_ = false;
  if (!record || !record->peripheral) {
    ZVRunLoop::main().post([this] {
      isConnecting_ = false;
      reportConnectFail(ZVConnectErrorMake(ZVConnectErrorNoPeripheral));
    });
    return;
  }
  auto &interface = facade();
  if (samePeripheral(interface.deviceConnected(), record->peripheral)) {
    isConnecting_ = false;
    interface.setIsConnected(true);
    deviceManager_->setIsConnected(true);
    if (auto delegate = interface.delegate()) delegate->didConnectSuccess();
    return;
  }
  if (interface.deviceConnected() && interface.deviceConnected()->peripheral && centralManager_) {
    centralManager_->cancelPeripheralConnection(interface.deviceConnected()->peripheral);
  }
  printer_ = record;
  const auto peripheral = record->peripheral;
  const int64_t portState = peripheral->state();
  if (portState == ZVBlePeripheralStateDisconnected && centralManager_) {
    centralManager_->connect(peripheral);
  }
  ZVRunLoop::main().post([this] {
    invalidate(systemTimer_);
    if (connectTimeoutTimer_) connectTimeoutTimer_->invalidate();
    connectTimeoutTimer_ = armConnectTimeout();
  });
  if (portState == ZVBlePeripheralStateConnected && centralManager_) {
    // Open at the port but not usable (a service time-out left it open):
    // start from the opened link again rather than wait for a report that
    // will never come.
    ZVRunLoop::main().post([this, peripheral] {
      if (printer_ && printer_->peripheral == peripheral &&
          peripheral->state() == ZVBlePeripheralStateConnected) {
        didConnectPeripheral(*centralManager_, peripheral);
      }
    });
  }
}

void ZVBluetoothManager::connectPeripheral(const std::string &identifier) {
  if (!centralManager_ || !centralManager_->isValidIdentifier(identifier)) return;
  const auto known = centralManager_->retrievePeripherals({identifier});
  if (known.empty()) return;
  auto &interface = facade();
  if (interface.deviceConnected() || interface.isConnected()) return;
  isConnectFail_ = false;
  const auto peripheral = known.front();
  centralManager_->connect(peripheral);
  deviceManager_->initConnectProperties();
  ZVRunLoop::main().post([this] {
    invalidate(systemTimer_);
    invalidate(connectTimeoutTimer_);
    systemTimer_ = armConnectTimeout();
  });
  deviceManager_->setRetrievePeripheral(peripheral);
}

void ZVBluetoothManager::connectPeripheralWithIdentifier() {
  auto &interface = facade();
  if (!identifier_.empty() && !interface.deviceConnected() && !interface.isConnected()) {
    connectPeripheral(identifier_);
  }
}

void ZVBluetoothManager::whenConnectTimeout() {
  isConnecting_ = false;
  isConnectFail_ = true;
  reportConnectFail(ZVConnectErrorMake(ZVConnectErrorConnectFailed));
  invalidate(connectTimeoutTimer_);
  if (printer_ && printer_->peripheral &&
      printer_->peripheral->state() == ZVBlePeripheralStateConnecting && centralManager_) {
    centralManager_->cancelPeripheralConnection(printer_->peripheral);
  }
}

void ZVBluetoothManager::didConnectPeripheral(ZVBleCentral &,
                                              const std::shared_ptr<ZVBlePeripheral> &peripheral) {
  invalidate(connectTimeoutTimer_);
  invalidate(systemTimer_);
  deviceManager_->initConnectProperties();
  deviceManager_->setPeripheralDelegate(peripheral);
}

void ZVBluetoothManager::didFailToConnectPeripheral(
    ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &peripheral,
    const std::optional<ZVError> &) {
  isConnecting_ = false;
  if (!samePeripheral(printer_, peripheral)) return;
  printer_.reset();
  deviceManager_->initConnectProperties();
  facade().setIsConnected(false);
  // The time-out stays armed: it reports a second failure later.
  reportConnectFail(ZVConnectErrorMake(ZVConnectErrorConnectFailed, /*refused=*/true));
}

void ZVBluetoothManager::didDisconnectPeripheral(ZVBleCentral &,
                                                 const std::shared_ptr<ZVBlePeripheral> &peripheral,
                                                 const std::optional<ZVError> &error) {
  isConnecting_ = false;
  if (!samePeripheral(printer_, peripheral)) return;
  printer_.reset();
  deviceManager_->initConnectProperties();
  auto &interface = facade();
  interface.setIsConnected(false);
  interface.setDeviceConnected(nullptr);
  if (ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared(); dispatcher.receiveDataBlock())
    dispatcher.setReceiveDataBlock({});
  if (isConnectFail_) return;
  if (auto delegate = interface.delegate()) delegate->didDisconnect(!error.has_value());
}

void ZVBluetoothManager::disconnect() {
  isConnectFail_ = false;
  cancelConnectedLink();
}

void ZVBluetoothManager::cancelConnect() {
  isConnectFail_ = true;
  cancelConnectedLink();
}

void ZVBluetoothManager::cancelConnectedLink() {
  const auto &connected = facade().deviceConnected();
  if (!connected || !connected->peripheral || !printer_ || !printer_->peripheral) return;
  const int64_t state = printer_->peripheral->state();
  if ((state == ZVBlePeripheralStateConnecting || state == ZVBlePeripheralStateConnected) &&
      centralManager_) {
    centralManager_->cancelPeripheralConnection(printer_->peripheral);
  }
}

void ZVBluetoothManager::didUpdateState(ZVBleCentral &central) {
  switch (central.state()) {
  case ZVBleCentralStatePoweredOn:
    if (isScaning_) scanBluetooth();
    connectPeripheralWithIdentifier();
    break;
  case ZVBleCentralStatePoweredOff: {
    devices_.clear();
    printer_.reset();
    auto &interface = facade();
    if (interface.deviceConnected()) interface.setDeviceConnected(nullptr);
    // isConnected stays set on the facade: applications rely on it.
    if (interface.isConnected()) {
      deviceManager_->initConnectProperties();
      if (auto delegate = interface.delegate()) delegate->didDisconnect(false);
    }
    break;
  }
  default:
    break;
  }
}
