// ZVPeripheralManager: service discovery, the two module profiles and the
// routing of incoming values.

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVPeripheralManager.h>

#include "connection/gatt_uuids.h"

#include <algorithm>

namespace uuids = zv::detail::uuids;

namespace {

constexpr double kServiceDiscoveryTimeout = 3.0;
constexpr uint64_t kNotifyBit = ZVBleCharacteristicPropertyNotify;
constexpr uint8_t kChunkSizeReceived = 1;
constexpr uint8_t kCreditReceived = 2;

void invalidate(std::shared_ptr<ZVTimer> &timer) {
  if (timer) timer->invalidate();
  timer.reset();
}

bool isReadCharacteristic(const std::string &uuid) {
  return uuid == uuids::kIvtRead || uuid == uuids::kIsscRead;
}

} // namespace

ZVPeripheralManager &ZVPeripheralManager::share() {
  static ZVPeripheralManager manager;
  return manager;
}

ZVPeripheralManager::ZVPeripheralManager()
    : writeQueue_("vantu.ble.write.queue", ZVRunLoop::main()),
      selfAsDelegate_(this, [](ZVBlePeripheralDelegate *) {}) {}

void ZVPeripheralManager::setRetrievePeripheral(const std::shared_ptr<ZVBlePeripheral> &p) {
  setPeripheral(p);
  if (p) p->setDelegate(selfAsDelegate_);
}

void ZVPeripheralManager::setPeripheralDelegate(const std::shared_ptr<ZVBlePeripheral> &p) {
  processer_ = std::make_shared<ZVTarvoDataProcessor>();
  setPeripheral(p);
  if (!p) return;
  p->setDelegate(selfAsDelegate_);
  p->discoverServices(
      std::vector<std::string>{uuids::kIsscService, uuids::kDeviceInformation, uuids::kIvtService});
  ZVRunLoop::main().post([this] {
    invalidate(serviceTimer_);
    // The time-out acts only while it is still this link's timer.
    auto holder = std::make_shared<std::weak_ptr<ZVTimer>>();
    serviceTimer_ = ZVRunLoop::main().schedule(kServiceDiscoveryTimeout, [this, holder] {
      if (const auto self = holder->lock(); self && self == serviceTimer_) {
        whenDiscoverServicesTimeout();
      }
    });
    *holder = serviceTimer_;
  });
}

void ZVPeripheralManager::initConnectProperties() {
  {
    std::lock_guard lock(sendMutex_);
    isConnected_ = false;
    totalCount_ = 0;
    totalData_.clear();
    sendHead_ = 0;
    isSendSuccess_ = false;
  }
  loadInfo_ = 0;
}

void ZVPeripheralManager::didConnectPrinterSuccess() {
  auto &manager = ZVBluetoothManager::shareInstance();
  manager.stopScanBluetooth();
  manager.setIsConnecting(false);
  {
    std::lock_guard lock(sendMutex_);
    if (BLEVender_ == ZVBLEVenderISSC) {
      credit_ = 1;
      ivtMaxCredit_ = 1;
    }
    ivtMaxCredit_ = credit_;
    isConnected_ = true;
  }
  auto &interface = ZVConnectInterface::shared();
  interface.setIsConnected(true);
  interface.setMode(ZVPrinterModeBLE);
  if (manager.printer()) {
    interface.setDeviceConnected(manager.printer());
  } else {
    // Reconnected by identifier: no discovery record exists.
    const auto link = peripheral();
    auto record = std::make_shared<ZVPrinterMessage>();
    record->peripheral = link;
    if (link) {
      std::string identifier = link->identifier();
      std::transform(identifier.begin(), identifier.end(), identifier.begin(),
                     [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
      record->identifier = std::move(identifier);
      record->name = link->name();
    }
    record->mode = ZVPrinterModeBLE;
    interface.setDeviceConnected(record);
    manager.setPrinter(record);
  }
  if (auto delegate = interface.delegate()) delegate->didConnectSuccess();
}

void ZVPeripheralManager::whenDiscoverServicesTimeout() {
  auto &manager = ZVBluetoothManager::shareInstance();
  manager.setIsConnecting(false);
  manager.setIsConnectFail(true);
  if (auto delegate = ZVConnectInterface::shared().delegate()) {
    delegate->didConnectFail(ZVConnectErrorMake(ZVConnectErrorServiceTimeout));
  }
  invalidate(serviceTimer_);
  // Only a link still connecting is cancelled; an open one is left open.
  const auto link = peripheral();
  if (link && link->state() == ZVBlePeripheralStateConnecting && manager.centralManager()) {
    manager.centralManager()->cancelPeripheralConnection(link);
  }
}

void ZVPeripheralManager::didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &p,
                                              const std::optional<ZVError> &) {
  invalidate(serviceTimer_);
  if (!p) return;
  const auto services = p->services();
  const auto offers = [&](const char *uuid) {
    return std::any_of(services.begin(), services.end(),
                       [&](const auto &service) { return service && service->uuid() == uuid; });
  };
  {
    std::lock_guard lock(sendMutex_);
    if (offers(uuids::kIsscService) || offers(uuids::kDeviceInformation)) {
      BLEVender_ = ZVBLEVenderISSC;
      credit_ = 1;
      ivtMaxCredit_ = 1;
      MTU_ = 127;
    }
    // Second on purpose: a module offering both ends as IVT.
    if (offers(uuids::kIvtService)) {
      BLEVender_ = ZVBLEVenderIVT;
      credit_ = 0;
      ivtMaxCredit_ = 0;
      MTU_ = 20;
    }
  }
  for (const auto &service : services) {
    if (service) p->discoverCharacteristics(std::nullopt, service);
  }
}

void ZVPeripheralManager::didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &p,
                                                     const std::shared_ptr<ZVBleService> &service,
                                                     const std::optional<ZVError> &) {
  if (!p || !service) return;
  if (BLEVender_ == ZVBLEVenderISSC) ISSCDidDiscoverCharacteristicsForService(service, p);
  if (BLEVender_ == ZVBLEVenderIVT) IVTCDidDiscoverCharacteristicsForService(service, p);
}

void ZVPeripheralManager::ISSCDidDiscoverCharacteristicsForService(
    const std::shared_ptr<ZVBleService> &service, const std::shared_ptr<ZVBlePeripheral> &p) {
  if (service->uuid() == uuids::kIsscService) {
    setWriteType(ZVBleWriteWithResponse);
    for (const auto &characteristic : service->characteristics()) {
      if (characteristic->uuid() == uuids::kIsscWrite) setCharacteristicWrite(characteristic);
      if (characteristic->uuid() == uuids::kIsscRead) characteristicRead_ = characteristic;
      if (characteristic->properties() & kNotifyBit) p->setNotifyValue(true, characteristic);
    }
  } else if (service->uuid() == uuids::kDeviceInformation) {
    for (const auto &characteristic : service->characteristics()) {
      if (characteristic->uuid() == uuids::kModelNumber) p->readValue(characteristic);
    }
  }
}

void ZVPeripheralManager::IVTCDidDiscoverCharacteristicsForService(
    const std::shared_ptr<ZVBleService> &service, const std::shared_ptr<ZVBlePeripheral> &p) {
  if (service->uuid() != uuids::kIvtService) return;
  for (const auto &characteristic : service->characteristics()) {
    const auto &uuid = characteristic->uuid();
    if (uuid == uuids::kIvtRead) {
      characteristicRead_ = characteristic;
    } else if (uuid == uuids::kIvtWrite) {
      setCharacteristicWrite(characteristic);
    } else if (uuid == uuids::kIvtFlowControl) {
      characteristicFlowControl_ = characteristic;
      setWriteType(ZVBleWriteWithoutResponse);
    }
    if (characteristic->properties() & kNotifyBit) p->setNotifyValue(true, characteristic);
  }
}

void ZVPeripheralManager::didUpdateNotificationState(
    const std::shared_ptr<ZVBlePeripheral> &,
    const std::shared_ptr<ZVBleCharacteristic> &characteristic, const std::optional<ZVError> &) {
  // The subscription's outcome is not examined: a failed one still completes.
  if (BLEVender_ == ZVBLEVenderISSC && characteristic &&
      characteristic->uuid() == uuids::kIsscRead) {
    didConnectPrinterSuccess();
  }
}

void ZVPeripheralManager::didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &p,
                                         const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                                         const std::optional<ZVError> &error) {
  if (!characteristic) return;
  if (isConnected()) {
    if (error) {
      // An interrupted send is dropped without a report.
      std::lock_guard lock(sendMutex_);
      totalCount_ = 0;
      totalData_.clear();
      sendHead_ = 0;
    } else if (isReadCharacteristic(characteristic->uuid()) && !characteristic->value().empty()) {
      const ZVData value = characteristic->value();
      if (const auto processor = processer_) processor->doReadData(value);
      ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
      if (const auto resolver = dispatcher.resolver()) resolver->readDeviceInput(value);
      if (const auto receive = dispatcher.receiveDataBlock()) receive(value);
    }
  }
  if (BLEVender_ == ZVBLEVenderISSC) ISSCdidUpdateValueForCharacteristic(characteristic, p);
  if (BLEVender_ == ZVBLEVenderIVT) IVTdidUpdateValueForCharacteristic(characteristic, p);
}

void ZVPeripheralManager::ISSCdidUpdateValueForCharacteristic(
    const std::shared_ptr<ZVBleCharacteristic> &characteristic,
    const std::shared_ptr<ZVBlePeripheral> &) {
  if (characteristic->uuid() == uuids::kModelNumber) setMTU(127);
}

void ZVPeripheralManager::IVTdidUpdateValueForCharacteristic(
    const std::shared_ptr<ZVBleCharacteristic> &characteristic,
    const std::shared_ptr<ZVBlePeripheral> &) {
  if (characteristic->uuid() != uuids::kIvtFlowControl) return;
  const ZVData &message = characteristic->value();
  // A message too short for its kind counts as one of unknown kind.
  const bool grant = message.size() >= 2 && message[0] == 1;
  const bool chunkSize = message.size() >= 3 && message[0] == 2;
  if (isConnected()) {
    if (grant) {
      std::lock_guard lock(sendMutex_);
      credit_ += message[1];
    }
    sendDataToPeripheral();
    return;
  }
  if (grant) {
    std::lock_guard lock(sendMutex_);
    credit_ += message[1];
    loadInfo_ |= kCreditReceived;
  } else if (chunkSize) {
    const int64_t size = message[1] | (message[2] << 8);
    if (size > 0) setMTU(size); // 0 would write empty chunks forever
    loadInfo_ |= kChunkSizeReceived;
  }
  if (loadInfo_ == (kChunkSizeReceived | kCreditReceived)) {
    loadInfo_ = 0;
    {
      std::lock_guard lock(sendMutex_);
      ivtMaxCredit_ = credit_;
    }
    didConnectPrinterSuccess();
  }
}

void ZVPeripheralManager::didReadRSSI(const std::shared_ptr<ZVBlePeripheral> &, int64_t,
                                      const std::optional<ZVError> &) {}
