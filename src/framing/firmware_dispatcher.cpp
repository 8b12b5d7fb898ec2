// One firmware transfer: a frame in flight, its acknowledgement or its
// 7-second time-out, repeats shared by both, one failure report.
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVFirmwareDispatcher.h>
#include <zvprinter/ZVPeripheralManager.h>

#include <algorithm>

namespace {

// The fourth acknowledgement byte carries the result.
constexpr size_t kAckResultIndex = 3;

bool isConnected() {
  return ZVConnectInterface::shared().isConnected();
}

} // namespace

void ZVFirmwareDispatcher::start() {
  const bool sendable =
      !slices_.empty() && std::none_of(slices_.begin(), slices_.end(),
                                       [](const auto &slice) { return slice.data.empty(); });
  if (!sendable) {
    // No frame could ever be acknowledged: say so once, never stall.
    auto self = weak_from_this().lock();
    ZVRunLoop::main().post([self, this] {
      if (self) invokeSendFailure();
    });
    return;
  }
  updateProgress();
  moveNextSliceInFlight();
}

void ZVFirmwareDispatcher::moveNextSliceInFlight() {
  if (slices_.empty()) return; // emptied by a callback during the report
  sendingSlices_.assign(1, std::move(slices_.front()));
  slices_.erase(slices_.begin());
  writeSlice(sendingSlices_.front());
}

void ZVFirmwareDispatcher::writeSlice(const ZVFirmwareSlice &slice) {
  if (!isConnected()) return;
  if (type_ == 0) {
    ZVPeripheralManager &link = ZVPeripheralManager::share();
    if (link.sendProgressBlock()) link.setSendProgressBlock({});
    link.sendDataToPrinter(slice.data);
  }
  // The pending timer keeps the sender alive, as the reply processor does.
  auto self = weak_from_this().lock();
  timer_ = ZVRunLoop::main().schedule(kAckTimeout, [self, slice] {
    if (self) self->sendTimeout(slice);
  });
}

void ZVFirmwareDispatcher::readSliceAck(const ZVData &ack) {
  const auto keepAlive = weak_from_this().lock(); // the last slice releases the sender
  stopTimer();
  if (!isConnected() || sendingSlices_.empty()) return;
  const bool accepted = ack.size() > kAckResultIndex && ack[kAckResultIndex] == 0;
  if (!accepted) {
    repeatOrFail();
    return;
  }
  resendCount_ = 0;
  sendingSlices_.clear();
  if (!slices_.empty()) {
    updateProgress();
    moveNextSliceInFlight();
    return;
  }
  slices_.clear();
  if (const auto &processor = ZVPeripheralManager::share().processer())
    processor->setResolverFirmwareBlock({});
  updateProgress();
}

void ZVFirmwareDispatcher::sendTimeout(const ZVFirmwareSlice &) {
  if (sendingSlices_.empty()) return; // the transfer has ended
  repeatOrFail();
}

void ZVFirmwareDispatcher::repeatOrFail() {
  ++resendCount_;
  if (resendCount_ <= maxResendCount_) {
    const ZVFirmwareSlice again = sendingSlices_.front();
    writeSlice(again);
  } else {
    invokeSendFailure();
  }
}

void ZVFirmwareDispatcher::updateProgress() {
  if (!sendProgressBlock_) return;
  const auto waiting = static_cast<int64_t>(slices_.size() + sendingSlices_.size());
  const auto total = static_cast<int64_t>(totalPackCount_);
  const auto block = sendProgressBlock_;
  block(ZVProgress{total, total - waiting});
}

void ZVFirmwareDispatcher::invokeSendFailure() {
  sendingSlices_.clear();
  slices_.clear();
  stopTimer();
  if (sendFailedBlock_) {
    const auto block = sendFailedBlock_;
    block();
  }
}

void ZVFirmwareDispatcher::stopTimer() {
  if (timer_) timer_->invalidate();
  timer_.reset();
}
