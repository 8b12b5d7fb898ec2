// ZVPeripheralManager: the send buffer, chunks of MTU bytes under credit
// flow control, progress and failure reports, and the end-of-send timer.

#include <zvprinter/ZVPeripheralManager.h>

#include <algorithm>

namespace {

constexpr double kEndOfSendDelay = 2.0;

} // namespace

void ZVPeripheralManager::sendDataToPrinter(std::span<const uint8_t> data) {
  {
    std::lock_guard lock(sendMutex_);
    if (data.empty() || !characteristicWrite_ || !peripheral_ || !isConnected_) return;
  }
  if (dataSuccessTimer_) dataSuccessTimer_->invalidate(); // the field keeps the dead timer
  {
    std::lock_guard lock(sendMutex_);
    isSendSuccess_ = false;
    credit_ = std::min(credit_, ivtMaxCredit_);
    // Written bytes sit before sendHead_; drop them once they are the larger
    // part, so taking chunks from the front stays linear overall.
    if (sendHead_ > 0 && sendHead_ * 2 >= totalData_.size()) {
      totalData_.erase(totalData_.begin(), totalData_.begin() + static_cast<ptrdiff_t>(sendHead_));
      sendHead_ = 0;
    }
    totalData_.insert(totalData_.end(), data.begin(), data.end());
    // The whole waiting length is added, not the new bytes: bytes still
    // waiting from an earlier call are counted again. Applications expect it.
    totalCount_ += static_cast<int64_t>(totalData_.size() - sendHead_);
  }
  postProgress(ZVProgress{0, 0}, /*onlyWhileDataWaits=*/false);
  sendDataToPeripheral();
}

void ZVPeripheralManager::stopSendData() {
  std::lock_guard lock(sendMutex_);
  totalData_.clear();
  sendHead_ = 0;
  totalCount_ = 0;
  isSendSuccess_ = true;
}

void ZVPeripheralManager::sendDataToPeripheral() {
  std::optional<ZVProgress> completion;
  {
    std::lock_guard lock(sendMutex_);
    if (totalData_.size() == sendHead_ && credit_ >= ivtMaxCredit_ && !isSendSuccess_) {
      ivtMaxCredit_ = credit_; // a module may return more credits than it started with
      isSendSuccess_ = true;
      completion = ZVProgress{totalCount_, totalCount_};
      totalCount_ = 0;
    }
  }
  if (completion) {
    if (dataSuccessTimer_) dataSuccessTimer_->invalidate();
    dataSuccessTimer_.reset();
    postProgress(*completion, /*onlyWhileDataWaits=*/false);
  }
  writeQueue_.async([this] { writePass(); });
}

void ZVPeripheralManager::writePass() {
  int64_t mtu = 0;
  int64_t type = 0;
  std::shared_ptr<ZVBleCharacteristic> characteristic;
  std::shared_ptr<ZVBlePeripheral> link;
  {
    std::lock_guard lock(sendMutex_);
    mtu = MTU_;
    type = writeType_;
    characteristic = characteristicWrite_;
    link = peripheral_;
  }
  if (mtu <= 0) return; // no chunk size yet: nothing can be written
  ZVData chunk;
  while (true) {
    ZVProgress progress;
    bool emptied = false;
    {
      // One step under the lock: take a chunk, spend its credit.
      std::lock_guard lock(sendMutex_);
      const size_t waiting = totalData_.size() - sendHead_;
      if (credit_ <= 0 || waiting == 0 || !isConnected_) break;
      const size_t length = std::min(waiting, static_cast<size_t>(mtu));
      const auto first = totalData_.begin() + static_cast<ptrdiff_t>(sendHead_);
      chunk.assign(first, first + static_cast<ptrdiff_t>(length));
      sendHead_ += length;
      credit_ -= 1;
      progress = ZVProgress{totalCount_,
                            totalCount_ - static_cast<int64_t>(totalData_.size() - sendHead_)};
      emptied = totalData_.size() == sendHead_;
    }
    if (link && characteristic) link->writeValue(chunk, characteristic, type);
    // The last chunk is reported by the completion, not here.
    postProgress(progress, /*onlyWhileDataWaits=*/true);
    if (emptied) ZVRunLoop::main().post([this] { armSuccessTimer(); });
  }
}

void ZVPeripheralManager::postProgress(ZVProgress progress, bool onlyWhileDataWaits) {
  ZVRunLoop::main().post([this, progress, onlyWhileDataWaits] {
    if (onlyWhileDataWaits) {
      std::lock_guard lock(sendMutex_);
      if (totalData_.size() == sendHead_) return;
    }
    if (sendProgressBlock_) sendProgressBlock_(progress);
  });
}

void ZVPeripheralManager::armSuccessTimer() {
  // A send that has already completed (or was stopped) before this block
  // ran needs no end-of-send timer.
  if (isSendSuccess()) return;
  auto holder = std::make_shared<std::weak_ptr<ZVTimer>>();
  dataSuccessTimer_ = ZVRunLoop::main().schedule(kEndOfSendDelay, [this, holder] {
    if (const auto self = holder->lock(); self && self == dataSuccessTimer_) successTimerAction();
  });
  *holder = dataSuccessTimer_;
}

void ZVPeripheralManager::successTimerAction() {
  ZVProgress completion;
  {
    std::lock_guard lock(sendMutex_);
    isSendSuccess_ = true;
    credit_ = ivtMaxCredit_; // forgive acknowledgements or grants that never came
    completion = ZVProgress{totalCount_, totalCount_};
    totalCount_ = 0;
  }
  postProgress(completion, /*onlyWhileDataWaits=*/false);
}

void ZVPeripheralManager::didWriteValue(const std::shared_ptr<ZVBlePeripheral> &,
                                        const std::shared_ptr<ZVBleCharacteristic> &,
                                        const std::optional<ZVError> &error) {
  if (writeType() != ZVBleWriteWithResponse) return;
  if (error) {
    {
      std::lock_guard lock(sendMutex_);
      totalCount_ = 0;
      totalData_.clear();
      sendHead_ = 0;
    }
    // The credit spent on the rejected write stays spent.
    if (sendFailedBlock_) sendFailedBlock_();
    return;
  }
  if (!isConnected()) return;
  {
    std::lock_guard lock(sendMutex_);
    credit_ += 1;
  }
  sendDataToPeripheral();
}

// Accessors of the fields shared with the write queue.

bool ZVPeripheralManager::isConnected() const {
  std::lock_guard lock(sendMutex_);
  return isConnected_;
}
void ZVPeripheralManager::setIsConnected(bool connected) {
  std::lock_guard lock(sendMutex_);
  isConnected_ = connected;
}
int64_t ZVPeripheralManager::writeType() const {
  std::lock_guard lock(sendMutex_);
  return writeType_;
}
void ZVPeripheralManager::setWriteType(int64_t type) {
  std::lock_guard lock(sendMutex_);
  writeType_ = type;
}
std::shared_ptr<ZVBleCharacteristic> ZVPeripheralManager::characteristicWrite() const {
  std::lock_guard lock(sendMutex_);
  return characteristicWrite_;
}
void ZVPeripheralManager::setCharacteristicWrite(std::shared_ptr<ZVBleCharacteristic> c) {
  std::lock_guard lock(sendMutex_);
  characteristicWrite_ = std::move(c);
}
std::shared_ptr<ZVBlePeripheral> ZVPeripheralManager::peripheral() const {
  std::lock_guard lock(sendMutex_);
  return peripheral_;
}
void ZVPeripheralManager::setPeripheral(std::shared_ptr<ZVBlePeripheral> p) {
  std::lock_guard lock(sendMutex_);
  peripheral_ = std::move(p);
}
int64_t ZVPeripheralManager::ivtMaxCredit() const {
  std::lock_guard lock(sendMutex_);
  return ivtMaxCredit_;
}
void ZVPeripheralManager::setIvtMaxCredit(int64_t credits) {
  std::lock_guard lock(sendMutex_);
  ivtMaxCredit_ = credits;
}
int64_t ZVPeripheralManager::MTU() const {
  std::lock_guard lock(sendMutex_);
  return MTU_;
}
void ZVPeripheralManager::setMTU(int64_t bytes) {
  std::lock_guard lock(sendMutex_);
  MTU_ = bytes;
}
int64_t ZVPeripheralManager::credit() const {
  std::lock_guard lock(sendMutex_);
  return credit_;
}
void ZVPeripheralManager::setCredit(int64_t credits) {
  std::lock_guard lock(sendMutex_);
  credit_ = credits;
}
ZVData ZVPeripheralManager::totalData() const {
  std::lock_guard lock(sendMutex_);
  return ZVData(totalData_.begin() + static_cast<ptrdiff_t>(sendHead_), totalData_.end());
}
void ZVPeripheralManager::setTotalData(ZVData data) {
  std::lock_guard lock(sendMutex_);
  totalData_ = std::move(data);
  sendHead_ = 0;
}
int64_t ZVPeripheralManager::totalCount() const {
  std::lock_guard lock(sendMutex_);
  return totalCount_;
}
void ZVPeripheralManager::setTotalCount(int64_t count) {
  std::lock_guard lock(sendMutex_);
  totalCount_ = count;
}
bool ZVPeripheralManager::isSendSuccess() const {
  std::lock_guard lock(sendMutex_);
  return isSendSuccess_;
}
void ZVPeripheralManager::setIsSendSuccess(bool done) {
  std::lock_guard lock(sendMutex_);
  isSendSuccess_ = done;
}
