#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>

ZVConnectInterface &ZVConnectInterface::shared() {
  static ZVConnectInterface interface;
  return interface;
}

ZVConnectInterface::ZVConnectInterface() : bleManager_(&ZVBluetoothManager::shareInstance()) {}

void ZVConnectInterface::scanBluetooth() {
  bleManager_->scanBluetooth();
}

void ZVConnectInterface::stopScanBluetooth() {
  bleManager_->stopScanBluetooth();
}

void ZVConnectInterface::connectPrinter(const std::shared_ptr<ZVPrinterMessage> &printer) {
  bleManager_->connectPrinter(printer);
}

void ZVConnectInterface::connectDeviceWithIdentifier(const std::string &identifier) {
  bleManager_->setIdentifier(identifier);
  bleManager_->connectPeripheral(identifier);
}

void ZVConnectInterface::disconnect() {
  if (deviceConnected_) bleManager_->disconnect();
}

void ZVConnectInterface::cancelConnect() {
  bleManager_->cancelConnect();
}

int64_t ZVConnectInterface::getBluetoothStatus() {
  const auto &central = bleManager_->centralManager();
  switch (central ? central->state() : ZVBleCentralStateUnknown) {
  case ZVBleCentralStatePoweredOn:
    return ZVBluetoothStatusPoweredOn;
  case ZVBleCentralStatePoweredOff:
    return ZVBluetoothStatusPoweredOff;
  case ZVBleCentralStateUnknown:
    return ZVBluetoothStatusUnknown;
  default:
    return ZVBluetoothStatusUnavailable;
  }
}
