#include <zvprinter/ZVCommonResolver.h>

#include <algorithm>
#include <iterator>

ZVCommonResolver::ZVCommonResolver() = default;

ZVCommonResolver::~ZVCommonResolver() = default;

void ZVCommonResolver::registerHandle() {}

void ZVCommonResolver::readDeviceInput(const ZVData &data) {
  cacheData_.insert(cacheData_.end(), data.begin(), data.end());
  resolveData();
}

ZVData ZVCommonResolver::cacheData() const {
  return ZVData(cacheData_.begin() + static_cast<std::ptrdiff_t>(cacheStart_), cacheData_.end());
}

// Callbacks may feed this resolver again (a nested readDeviceInput appends
// and resolves, then this loop carries on), so every step re-reads the
// members rather than keeping views across a call.
void ZVCommonResolver::resolveData() {
  while (true) {
    if (cacheStart_ == cacheData_.size()) {
      cacheData_.clear();
      cacheStart_ = 0;
      handleNotResolvedData();
      return;
    }
    const auto pending = std::span<const uint8_t>(cacheData_).subspan(cacheStart_);
    const auto block = router_.handle(pending);
    if (!block) {
      // The first byte cannot begin any reply; set it aside for the run.
      handleFailData_.push_back(pending.front());
      ++cacheStart_;
      continue;
    }
    if (pending.size() < static_cast<uint64_t>(block->minDataLength) || !block->handleBlock) break;
    const auto model = block->handleBlock(pending);
    if (!model) break;
    handleNotResolvedData();
    consume(model->cost);
    if (resolvedBlock_ && !model->isDiscardable) resolvedBlock_(model);
  }
  compact();
}

void ZVCommonResolver::handleNotResolvedData() {
  if (handleFailData_.empty()) return;
  ZVData run;
  run.swap(handleFailData_);
  if (handleFailBlock_) handleFailBlock_(run);
}

// A reply takes at least one byte, so a handler returning a cost of 0 cannot
// make the resolver spin, and at most what is buffered.
void ZVCommonResolver::consume(int64_t cost) {
  const auto available = static_cast<int64_t>(cacheData_.size() - cacheStart_);
  if (available == 0) return; // a callback fed and drained the resolver meanwhile
  cacheStart_ += static_cast<std::size_t>(std::clamp<int64_t>(cost, 1, available));
}

void ZVCommonResolver::compact() {
  if (cacheStart_ == 0) return;
  cacheData_.erase(cacheData_.begin(),
                   cacheData_.begin() + static_cast<std::ptrdiff_t>(cacheStart_));
  cacheStart_ = 0;
}
