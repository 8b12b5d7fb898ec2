#include <zvprinter/ZVRunLoop.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

int64_t toNanoseconds(double seconds) {
  if (!(seconds > 0)) return 0;                           // negative and NaN count as "now"
  constexpr double kMax = 1e9 * 60 * 60 * 24 * 365 * 100; // a century is "never"
  return static_cast<int64_t>(std::llround(std::min(seconds * 1e9, kMax)));
}

} // namespace

ZVRunLoop::ZVRunLoop(Clock clock) : clock_(clock), origin_(std::chrono::steady_clock::now()) {}

ZVRunLoop::~ZVRunLoop() = default;

ZVRunLoop &ZVRunLoop::main() {
  static ZVRunLoop loop;
  return loop;
}

void ZVRunLoop::setClock(Clock clock) {
  std::lock_guard lock(mutex_);
  if (clock == clock_) return;
  if (clock == Clock::Virtual) {
    virtualNow_ = realNs();
  } else {
    // Real time continues from the virtual time reached.
    origin_ = std::chrono::steady_clock::now() - std::chrono::nanoseconds(virtualNow_);
  }
  clock_ = clock;
  ++changes_;
  wake_.notify_all();
}

ZVRunLoop::Clock ZVRunLoop::clock() const {
  std::lock_guard lock(mutex_);
  return clock_;
}

int64_t ZVRunLoop::realNs() const {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() -
                                                              origin_)
      .count();
}

int64_t ZVRunLoop::nowNs() const {
  std::lock_guard lock(mutex_);
  return clock_ == Clock::Virtual ? virtualNow_ : realNs();
}

double ZVRunLoop::now() const {
  return static_cast<double>(nowNs()) / 1e9;
}

bool ZVRunLoop::isCurrent() const {
  return runner_.load() == std::this_thread::get_id();
}

void ZVRunLoop::post(std::function<void()> block) {
  if (!block) return;
  std::lock_guard lock(mutex_);
  blocks_.push_back(std::move(block));
  ++changes_;
  wake_.notify_all();
}

std::shared_ptr<ZVTimer> ZVRunLoop::schedule(double seconds, std::function<void()> action) {
  std::lock_guard lock(mutex_);
  const int64_t now = clock_ == Clock::Virtual ? virtualNow_ : realNs();
  auto timer = std::make_shared<ZVTimer>(now + toNanoseconds(seconds), std::move(action));
  timers_.emplace(Key{timer->deadline_, nextTimerId_++}, timer);
  ++changes_;
  wake_.notify_all();
  return timer;
}

size_t ZVRunLoop::pendingBlocks() const {
  std::lock_guard lock(mutex_);
  return blocks_.size();
}

size_t ZVRunLoop::pendingTimers() const {
  std::lock_guard lock(mutex_);
  return static_cast<size_t>(std::count_if(
      timers_.begin(), timers_.end(), [](const auto &entry) { return entry.second->isValid(); }));
}

void ZVRunLoop::stop() {
  std::lock_guard lock(mutex_);
  stopRequested_ = true;
  ++changes_;
  wake_.notify_all();
}

bool ZVRunLoop::runOneBlock() {
  std::function<void()> block;
  {
    std::lock_guard lock(mutex_);
    if (blocks_.empty()) return false;
    block = std::move(blocks_.front());
    blocks_.pop_front();
  }
  block();
  return true;
}

bool ZVRunLoop::fireOneDueTimer(int64_t now) {
  std::function<void()> action;
  {
    std::lock_guard lock(mutex_);
    while (!timers_.empty() && !timers_.begin()->second->isValid())
      timers_.erase(timers_.begin());
    if (timers_.empty() || timers_.begin()->first.first > now) return false;
    auto timer = std::move(timers_.begin()->second);
    timers_.erase(timers_.begin());
    // Invalid from the moment it fires: a one-shot timer cannot fire twice.
    if (!timer->valid_.exchange(false)) return true;
    action = std::move(timer->action_);
  }
  if (action) action();
  return true;
}

std::optional<int64_t> ZVRunLoop::nextDeadlineLocked() {
  while (!timers_.empty() && !timers_.begin()->second->isValid())
    timers_.erase(timers_.begin());
  if (timers_.empty()) return std::nullopt;
  return timers_.begin()->first.first;
}

bool ZVRunLoop::runLoop(const std::function<bool()> *predicate, std::optional<int64_t> limitNs,
                        bool stopWhenIdle) {
  const auto previousRunner = runner_.exchange(std::this_thread::get_id());
  const auto satisfied = [&] { return predicate != nullptr && (*predicate)(); };
  const auto stopped = [&] {
    std::lock_guard lock(mutex_);
    return std::exchange(stopRequested_, false);
  };
  bool result = false;
  while (true) {
    if (satisfied()) {
      result = true;
      break;
    }
    if (stopped()) break;
    if (runOneBlock()) continue;
    const int64_t now = nowNs();
    if (fireOneDueTimer(now)) continue;
    if (limitNs && now >= *limitNs) break;
    // The next deadline and the change counter are read under the same lock
    // the wait releases: a timer scheduled from another thread after this
    // point bumps the counter and wakes the wait, one scheduled before it is
    // already in the deadline.
    std::unique_lock lock(mutex_);
    if (!blocks_.empty() || stopRequested_) continue;
    const auto next = nextDeadlineLocked();
    if (clock_ == Clock::Virtual) {
      if (next && (!limitNs || *next <= *limitNs)) {
        virtualNow_ = std::max(virtualNow_, *next);
      } else if (limitNs) {
        virtualNow_ = std::max(virtualNow_, *limitNs);
      } else if (stopWhenIdle) {
        break;
      }
      continue;
    }
    std::optional<int64_t> wakeAt = next;
    if (limitNs) wakeAt = wakeAt ? std::min(*wakeAt, *limitNs) : *limitNs;
    const uint64_t seen = changes_;
    const auto woken = [&] { return changes_ != seen; };
    if (wakeAt) {
      wake_.wait_until(lock, origin_ + std::chrono::nanoseconds(*wakeAt), woken);
    } else {
      wake_.wait(lock, woken);
    }
  }
  runner_.store(previousRunner);
  return result;
}

void ZVRunLoop::run() {
  runLoop(nullptr, std::nullopt, true);
}

void ZVRunLoop::runFor(double seconds) {
  runLoop(nullptr, nowNs() + toNanoseconds(seconds), false);
}

bool ZVRunLoop::runUntil(const std::function<bool()> &predicate, double timeout) {
  return runLoop(&predicate, nowNs() + toNanoseconds(timeout), false);
}
