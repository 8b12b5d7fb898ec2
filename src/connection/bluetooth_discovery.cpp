// ZVBluetoothManager: creation, scanning and the printer records.

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVPeripheralManager.h>
#include <zvprinter/ZVPlatform.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>

ZVBluetoothManager &ZVBluetoothManager::shareInstance() {
  static ZVBluetoothManager manager;
  return manager;
}

ZVBluetoothManager::ZVBluetoothManager() : selfAsDelegate_(this, [](ZVBleCentralDelegate *) {}) {
  setCentralManager(ZVPlatform::makeCentral());
  deviceManager_ = &ZVPeripheralManager::share();
  connectTimeout_ = 5.0;
}

void ZVBluetoothManager::setCentralManager(std::shared_ptr<ZVBleCentral> central) {
  centralManager_ = std::move(central);
  if (centralManager_) centralManager_->setDelegate(selfAsDelegate_);
}

void ZVBluetoothManager::scanBluetooth() {
  if (!centralManager_) return;
  centralManager_->stopScan();
  isScaning_ = true;
  if (centralManager_->state() != ZVBleCentralStatePoweredOn) return; // resumed at power-on
  devices_.clear();
  centralManager_->scanForPeripherals(std::nullopt, /*allowDuplicates=*/false);
}

void ZVBluetoothManager::stopScanBluetooth() {
  isScaning_ = false;
  if (centralManager_) centralManager_->stopScan();
}

std::string ZVBluetoothManager::stringFromBytes(const uint8_t *bytes, uint64_t length) const {
  std::string text;
  if (bytes == nullptr) return text;
  text.reserve(length * 3);
  for (uint64_t i = 0; i < length; ++i) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02x", bytes[i]);
    if (i > 0) text += ':';
    text += pair;
  }
  return text;
}

std::string
ZVBluetoothManager::getMacWithAdvertisementData(const ZVBleAdvertisement &advertisement) const {
  const auto &data = advertisement.manufacturerData;
  if (!data || data->size() < 6) return "Unknown";
  std::string mac = stringFromBytes(data->data() + (data->size() - 6), 6);
  std::transform(mac.begin(), mac.end(), mac.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return mac;
}

float ZVBluetoothManager::distanceWithRSSI(int64_t rssi) const {
  // Log-distance path loss: -65 dBm at one unit, exponent 2. The exponent
  // and the result are rounded to float exactly where the library always
  // rounded them.
  const int32_t r = static_cast<int32_t>(rssi);
  const int64_t a = std::llabs(static_cast<int64_t>(r));
  const float exponent = static_cast<float>(static_cast<double>(a - 65) / 20.0);
  return static_cast<float>(std::pow(10.0, static_cast<double>(exponent)));
}

void ZVBluetoothManager::didDiscoverPeripheral(ZVBleCentral &,
                                               const std::shared_ptr<ZVBlePeripheral> &peripheral,
                                               const ZVBleAdvertisement &advertisement,
                                               int64_t rssi) {
  if (!isScaning_ || !peripheral) return;
  if (advertisement.isConnectable.value_or(0) == 0) return;
  const auto peripheralName = peripheral->name();
  if (!peripheralName) return;
  const std::string name = advertisement.localName && !advertisement.localName->empty()
                               ? *advertisement.localName
                               : *peripheralName;
  const auto found = std::find_if(devices_.begin(), devices_.end(), [&](const auto &record) {
    return record->peripheral == peripheral;
  });
  if (found != devices_.end()) {
    (*found)->name = name;
    (*found)->mac = getMacWithAdvertisementData(advertisement);
    (*found)->distance = distanceWithRSSI(rssi);
  } else {
    auto record = std::make_shared<ZVPrinterMessage>();
    record->peripheral = peripheral;
    std::string identifier = peripheral->identifier();
    std::transform(identifier.begin(), identifier.end(), identifier.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    record->identifier = std::move(identifier);
    record->name = name;
    record->mac = getMacWithAdvertisementData(advertisement);
    record->distance = distanceWithRSSI(rssi);
    record->mode = ZVPrinterModeBLE;
    devices_.push_back(std::move(record));
  }
  // Posted although we are on the main queue already, so the delegate runs
  // after this callback has returned; it sees the list as it is then.
  ZVRunLoop::main().post([this] {
    if (auto delegate = ZVConnectInterface::shared().delegate()) {
      delegate->didDiscoverBLEPrints(devices_);
    }
  });
}
