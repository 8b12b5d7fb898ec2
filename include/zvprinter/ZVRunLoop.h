/// @file ZVRunLoop.h
/// @brief The library's main queue: posted blocks and one-shot timers on one
/// thread, with a real or a virtual clock.
#pragma once

#include <zvprinter/ZVExport.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

class ZVRunLoop;

/// A one-shot timer scheduled on a ZVRunLoop. The loop keeps the timer alive
/// until it fires or is invalidated; holding the returned pointer only lets
/// the owner invalidate it.
class ZV_EXPORT ZVTimer {
public:
  /// Stops the timer from firing. Safe from any thread and more than once.
  /// A timer whose action is already running is not interrupted.
  void invalidate() { valid_.store(false); }
  /// True until the timer fires or is invalidated.
  bool isValid() const { return valid_.load(); }
  /// The loop time, in seconds, at which the timer fires.
  double fireTime() const { return static_cast<double>(deadline_) / 1e9; }

  ZVTimer(int64_t deadlineNs, std::function<void()> action)
      : deadline_(deadlineNs), action_(std::move(action)) {}

private:
  friend class ZVRunLoop;
  std::atomic<bool> valid_{true};
  int64_t deadline_;
  std::function<void()> action_;
};

/// A run loop: the thread that runs it is the queue on which the library
/// calls back (Bluetooth callbacks, delegates, timers, progress reports).
///
/// Two clocks:
/// - real time (the default): run(), runFor() and runUntil() block the
///   calling thread, sleeping until a block is posted or a timer is due;
/// - virtual time (tests, simulation): time stands still until advance(),
///   runFor() or runUntil() moves it; due timers then fire in deadline order
///   (ties in the order they were scheduled) with posted blocks drained after
///   each, so a 42-second time-out passes in microseconds and every run sees
///   the same interleaving.
///
/// An application makes ZVRunLoop::main() its main loop: either it calls
/// `ZVRunLoop::main().run()` on a thread of its own and reaches the library
/// through `post`, or it calls runFor()/runUntil() from its own event loop.
/// Calls into the connection API belong on that thread (from a callback, or
/// in a block given to post()).
///
/// Thread safety: post(), schedule(), stop(), now() and isCurrent() may be
/// called from any thread. run(), runFor(), runUntil() and advance() run the
/// loop on the calling thread; only one thread may run a loop at a time
/// (nested runs from inside a block on that thread are allowed).
class ZV_EXPORT ZVRunLoop {
public:
  enum class Clock { Real, Virtual };

  explicit ZVRunLoop(Clock clock = Clock::Real);
  ~ZVRunLoop();
  ZVRunLoop(const ZVRunLoop &) = delete;
  ZVRunLoop &operator=(const ZVRunLoop &) = delete;

  /// The library's main queue, created on first use with the real clock.
  static ZVRunLoop &main();

  /// Switches between the clocks. Virtual time continues from the current
  /// time, so pending timers keep their place. Meant to be called once at
  /// start-up (tests, the simulator), before the loop runs.
  void setClock(Clock clock);
  Clock clock() const;
  bool isVirtual() const { return clock() == Clock::Virtual; }

  /// Queues @p block to run on the loop's thread after the blocks queued
  /// before it. Empty blocks are ignored.
  void post(std::function<void()> block);

  /// Schedules @p action to run once, @p seconds from now (negative counts as
  /// 0). The returned timer may be invalidated at any time before it fires.
  std::shared_ptr<ZVTimer> schedule(double seconds, std::function<void()> action);

  /// Runs until stop() is called. Under the virtual clock it also returns
  /// when nothing is queued and no timer is pending (nothing could happen).
  void run();
  /// Runs for @p seconds of loop time (virtual: advances the clock).
  void runFor(double seconds);
  /// Runs until @p predicate returns true (checked before waiting and after
  /// every block and timer), stop() is called, or @p timeout seconds of loop
  /// time pass. Returns the predicate's last value.
  bool runUntil(const std::function<bool()> &predicate, double timeout);
  /// Virtual clock: moves time forward by @p seconds, firing due timers in
  /// order and draining posted blocks. Real clock: same as runFor().
  void advance(double seconds) { runFor(seconds); }
  /// Makes the innermost run()/runFor()/runUntil() return after the current
  /// block. Safe from any thread. A stop() while the loop is not running is
  /// kept, and makes the next run return at once (so a thread that has not
  /// yet entered run() still stops).
  void stop();

  /// Seconds on the loop's clock since the loop was made.
  double now() const;
  /// True on the thread that is running the loop.
  bool isCurrent() const;
  /// Number of blocks waiting to run (for tests and diagnostics).
  size_t pendingBlocks() const;
  /// Number of timers still valid and waiting to fire.
  size_t pendingTimers() const;

private:
  using Key = std::pair<int64_t, uint64_t>; // deadline, creation order

  int64_t nowNs() const;
  int64_t realNs() const;
  bool runLoop(const std::function<bool()> *predicate, std::optional<int64_t> limitNs,
               bool stopWhenIdle);
  bool runOneBlock();
  bool fireOneDueTimer(int64_t now);
  std::optional<int64_t> nextDeadlineLocked(); // mutex_ held

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> blocks_;
  std::map<Key, std::shared_ptr<ZVTimer>> timers_;
  uint64_t nextTimerId_ = 0;
  Clock clock_;
  std::chrono::steady_clock::time_point origin_;
  int64_t virtualNow_ = 0;
  bool stopRequested_ = false;
  uint64_t changes_ = 0; // bumped by every post, schedule, stop and clock switch
  std::atomic<std::thread::id> runner_{};
};
