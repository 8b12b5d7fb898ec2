#include <zvprinter/ZVCacheManager.h>
#include <zvprinter/ZVDataDispatcher.h>

#include "replies/tarvo_replies.h"

#include <algorithm>

using namespace zv::detail;

void ZVCacheManager::addCurrentValue(const ZVData &value) {
  lastValue_ = std::move(currentValue_);
  currentValue_ = value;
  cachedData_.reset();
  managerPrinterUpdateFirmwareStatus();
}

const ZVData &ZVCacheManager::cachedData() {
  if (!cachedData_) {
    ZVData joined = lastValue_.value_or(ZVData{});
    if (currentValue_) joined.insert(joined.end(), currentValue_->begin(), currentValue_->end());
    cachedData_ = std::move(joined);
  }
  return *cachedData_;
}

void ZVCacheManager::removeCachedData() {
  currentValue_.reset();
  lastValue_.reset();
  cachedData_.reset();
}

// Recognises an acknowledgement whose bytes arrived in two consecutive
// notifications.
void ZVCacheManager::managerPrinterUpdateFirmwareStatus() {
  const ZVData &joined = cachedData();
  if (joined.size() < static_cast<std::size_t>(kFirmwareAckLength)) return;
  const auto prefix = asBytes(kFirmwareAckPrefix);
  if (!std::equal(prefix.begin(), prefix.end(), joined.begin())) return;
  const ZVData ack(joined.begin() + static_cast<std::ptrdiff_t>(prefix.size()),
                   joined.begin() + kFirmwareAckLength);
  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  if (dispatcher.receiveDataBlock()) dispatcher.setReceiveDataBlock({});
  if (resolverFirmwareBlock_) {
    const auto block = resolverFirmwareBlock_;
    block(ack);
  }
}
