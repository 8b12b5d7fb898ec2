#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSerialQueue.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(ZVRunLoopVirtual, TimersFireInDeadlineOrderThenCreationOrder) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  std::vector<std::string> fired;
  loop.schedule(2.0, [&] { fired.push_back("b@" + std::to_string(loop.now())); });
  loop.schedule(1.0, [&] { fired.push_back("a1"); });
  loop.schedule(1.0, [&] { fired.push_back("a2"); });
  auto dropped = loop.schedule(1.5, [&] { fired.push_back("invalidated"); });
  dropped->invalidate();
  loop.post([&] { fired.push_back("posted"); });

  loop.advance(0.5);
  EXPECT_EQ(fired, (std::vector<std::string>{"posted"}));
  EXPECT_DOUBLE_EQ(loop.now(), 0.5);
  loop.advance(1.5); // reaches 2.0 exactly: the 2-second timer is due too
  EXPECT_EQ(fired, (std::vector<std::string>{"posted", "a1", "a2", "b@2.000000"}));
  EXPECT_FALSE(dropped->isValid());
  EXPECT_EQ(loop.pendingTimers(), 0u);
}

TEST(ZVRunLoopVirtual, RunUntilTimesOutAndTimersScheduledByTimersSeeTheirFireTime) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  std::vector<double> times;
  std::function<void()> resend = [&] {
    times.push_back(loop.now());
    if (times.size() < 6) loop.schedule(7.0, resend);
  };
  loop.schedule(7.0, resend);
  EXPECT_FALSE(loop.runUntil([&] { return !times.empty(); }, 3.0));
  EXPECT_DOUBLE_EQ(loop.now(), 3.0);
  EXPECT_TRUE(loop.runUntil([&] { return times.size() == 5; }, 100.0));
  EXPECT_DOUBLE_EQ(loop.now(), 35.0); // stops at the moment the predicate held
  loop.run();                         // returns once nothing else can happen
  EXPECT_EQ(times, (std::vector<double>{7, 14, 21, 28, 35, 42}));
  EXPECT_DOUBLE_EQ(loop.now(), 42.0);
}

TEST(ZVRunLoopVirtual, StopEndsRunFromABlock) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  int ticks = 0;
  std::function<void()> tick = [&] {
    if (++ticks == 3) loop.stop();
    loop.schedule(1.0, tick);
  };
  loop.post(tick);
  loop.run();
  EXPECT_EQ(ticks, 3);
  EXPECT_EQ(loop.pendingTimers(), 1u);
  loop.stop(); // not running: remembered by the next run, which returns at once
  loop.run();
  EXPECT_EQ(ticks, 3);
}

TEST(ZVSerialQueue, RunsInOrderOnTheLoopThreadOnlyUnderTheVirtualClock) {
  std::vector<int> expected(50);
  std::iota(expected.begin(), expected.end(), 0);
  const auto mainThread = std::this_thread::get_id();
  for (const auto clock : {ZVRunLoop::Clock::Virtual, ZVRunLoop::Clock::Real}) {
    const bool onLoopThread = clock == ZVRunLoop::Clock::Virtual;
    ZVRunLoop loop(clock);
    std::vector<int> order;
    bool done = false;
    {
      ZVSerialQueue queue("test.write.queue", loop);
      for (int i = 0; i < 50; ++i) {
        queue.async([&, i] {
          EXPECT_TRUE(queue.isCurrent());
          EXPECT_EQ(std::this_thread::get_id() == mainThread, onLoopThread);
          order.push_back(i);
        });
      }
      // Under the virtual clock nothing runs until the loop does.
      EXPECT_TRUE(!onLoopThread || order.empty());
      queue.async([&] { loop.post([&] { done = true; }); });
      EXPECT_TRUE(loop.runUntil([&] { return done; }, 10.0));
      EXPECT_FALSE(queue.isCurrent());
    }
    EXPECT_EQ(order, expected);
  }
}

TEST(ZVRunLoopReal, BlocksPostedFromOtherThreadsAndTimersWakeTheLoop) {
  ZVRunLoop loop;
  std::atomic<int> posted{0};
  bool timerFired = false;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i)
        loop.post([&] { ++posted; });
    });
  }
  std::thread scheduler([&] { loop.schedule(0.02, [&] { timerFired = true; }); });
  EXPECT_TRUE(loop.runUntil([&] { return posted == 400 && timerFired; }, 10.0));
  for (auto &thread : threads)
    thread.join();
  scheduler.join();

  const auto started = std::chrono::steady_clock::now();
  EXPECT_FALSE(loop.runUntil([] { return false; }, 0.05));
  const auto elapsed = std::chrono::steady_clock::now() - started;
  EXPECT_GE(elapsed, std::chrono::milliseconds(45));
  EXPECT_LT(elapsed, std::chrono::seconds(5));
}

// A timer scheduled from another thread just as the loop goes to sleep must
// wake it. The helper schedules the next timer the moment the previous one
// fired (when the loop is on its way back to sleep), with a varying delay to
// sweep the moment across the loop's bookkeeping. A lost wakeup leaves the
// loop asleep until its 120 s limit, so the helper's 5 s wait expires.
TEST(ZVRunLoopReal, TimersScheduledWhileTheLoopFallsAsleepAreNeverMissed) {
  ZVRunLoop loop;
  constexpr int kRounds = 20000;
  std::atomic<int> fired{0};
  std::atomic<int> lostAt{-1};
  std::thread scheduler([&] {
    for (int round = 0; round < kRounds; ++round) {
      std::atomic<int> spin{0};
      while (spin.fetch_add(1, std::memory_order_relaxed) < (round * 7) % 300) {
      }
      loop.schedule(0.0, [&] { fired.fetch_add(1); });
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
      while (fired.load() <= round) {
        if (std::chrono::steady_clock::now() > deadline) {
          lostAt = round;
          loop.stop();
          return;
        }
      }
    }
  });
  loop.runUntil([&] { return fired.load() == kRounds || lostAt.load() >= 0; }, 120.0);
  scheduler.join();
  EXPECT_EQ(lostAt.load(), -1) << "a wakeup was lost; the loop slept until its time limit";
  EXPECT_EQ(fired.load(), kRounds);
}

} // namespace
