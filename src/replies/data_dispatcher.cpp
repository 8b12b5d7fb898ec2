// The shared entry for bytes to and from the printer.
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVFirmwareDispatcher.h>
#include <zvprinter/ZVPeripheralManager.h>
#include <zvprinter/ZVPrinterMessage.h>

namespace {

bool canSend() {
  const ZVConnectInterface &facade = ZVConnectInterface::shared();
  return facade.isConnected() && facade.mode() == ZVPrinterModeBLE;
}

void sendWithoutProgress(ZVPeripheralManager &link, const ZVData &data) {
  if (link.sendProgressBlock()) link.setSendProgressBlock({});
  link.sendDataToPrinter(data);
}

} // namespace

ZVDataDispatcher &ZVDataDispatcher::shared() {
  static ZVDataDispatcher instance;
  return instance;
}

void ZVDataDispatcher::writeData(const ZVData &data) {
  if (!canSend()) return;
  sendWithoutProgress(ZVPeripheralManager::share(), data);
}

void ZVDataDispatcher::writeData(const ZVData &data, ProgressBlock progress, FailBlock fail) {
  if (!canSend()) return;
  ZVPeripheralManager &link = ZVPeripheralManager::share();
  sendWithoutProgress(link, data);
  // Reports are always posted by the link, so none has been delivered yet.
  link.setSendProgressBlock(std::move(progress));
  link.setSendFailedBlock(std::move(fail));
}

void ZVDataDispatcher::writeFirmwareData(std::vector<ZVFirmwareSlice> slices,
                                         ProgressBlock progress, FailBlock fail) {
  auto sender = std::make_shared<ZVFirmwareDispatcher>();
  sender->setTotalPackCount(slices.size());
  sender->setSlices(std::move(slices));
  sender->setSendFailedBlock(std::move(fail));
  sender->setSendProgressBlock(std::move(progress));
  if (ZVConnectInterface::shared().mode() != ZVPrinterModeBLE) return;
  sender->setType(0);
  sender->start();
  if (const auto &processor = ZVPeripheralManager::share().processer()) {
    processor->setResolverFirmwareBlock([sender](const ZVData &ack) { sender->readSliceAck(ack); });
  }
}

void ZVDataDispatcher::clearBufferData() {
  ZVPeripheralManager &link = ZVPeripheralManager::share();
  if (link.sendProgressBlock()) link.setSendProgressBlock({});
  if (link.sendFailedBlock()) link.setSendFailedBlock({});
  link.stopSendData();
}

std::shared_ptr<ZVDataResolver> ZVDataDispatcher::resolver() const {
  std::lock_guard lock(mutex_);
  return resolver_;
}

void ZVDataDispatcher::setResolver(std::shared_ptr<ZVDataResolver> resolver) {
  std::lock_guard lock(mutex_);
  resolver_ = std::move(resolver);
}

ZVDataDispatcher::ReceiveDataBlock ZVDataDispatcher::receiveDataBlock() const {
  std::lock_guard lock(mutex_);
  return receiveDataBlock_;
}

void ZVDataDispatcher::setReceiveDataBlock(ReceiveDataBlock block) {
  std::lock_guard lock(mutex_);
  receiveDataBlock_ = std::move(block);
}

ZVDataDispatcher::TarvoStateBlock ZVDataDispatcher::autoTarvoStateBlock() const {
  std::lock_guard lock(mutex_);
  return autoTarvoStateBlock_;
}

void ZVDataDispatcher::setAutoTarvoStateBlock(TarvoStateBlock block) {
  std::lock_guard lock(mutex_);
  autoTarvoStateBlock_ = std::move(block);
}

ZVDataDispatcher::PrintCompleteBlock ZVDataDispatcher::printImageCompleteBlock() const {
  std::lock_guard lock(mutex_);
  return printImageCompleteBlock_;
}

void ZVDataDispatcher::setPrintImageCompleteBlock(PrintCompleteBlock block) {
  std::lock_guard lock(mutex_);
  printImageCompleteBlock_ = std::move(block);
}
