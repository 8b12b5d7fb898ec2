#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSerialQueue.h>

#include <gtest/gtest.h>

#include <atomic>
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

TEST(ZVRunLoopVirtual, TimerScheduledByATimerSeesItsOwnFireTime) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  std::vector<double> times;
  std::function<void()> resend = [&] {
    times.push_back(loop.now());
    if (times.size() < 6) loop.schedule(7.0, resend);
  };
  loop.schedule(7.0, resend);
  EXPECT_TRUE(loop.runUntil([&] { return times.size() == 6; }, 100.0));
  EXPECT_EQ(times, (std::vector<double>{7, 14, 21, 28, 35, 42}));
  EXPECT_DOUBLE_EQ(loop.now(), 42.0); // stops at the moment the predicate held
}

TEST(ZVRunLoopVirtual, RunUntilTimesOutAtTheLimitAndRunStopsWhenIdle) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  bool late = false;
  loop.schedule(10.0, [&] { late = true; });
  EXPECT_FALSE(loop.runUntil([&] { return late; }, 3.0));
  EXPECT_DOUBLE_EQ(loop.now(), 3.0);
  loop.run(); // nothing else can happen after the timer: returns
  EXPECT_TRUE(late);
  EXPECT_DOUBLE_EQ(loop.now(), 10.0);
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
  loop.runFor(1.0);
  EXPECT_EQ(ticks, 4);
}

TEST(ZVSerialQueueVirtual, DrainsOnTheLoopThreadInSubmissionOrder) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  ZVSerialQueue queue("test.write.queue", loop);
  std::vector<int> order;
  const auto mainThread = std::this_thread::get_id();
  for (int i = 0; i < 5; ++i) {
    queue.async([&, i] {
      EXPECT_TRUE(queue.isCurrent());
      EXPECT_EQ(std::this_thread::get_id(), mainThread);
      order.push_back(i);
      if (i == 0) loop.post([&] { order.push_back(100); });
    });
  }
  EXPECT_TRUE(order.empty()); // nothing runs until the loop does
  loop.runFor(0);
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 100}));
  EXPECT_FALSE(queue.isCurrent());
}

TEST(ZVRunLoopReal, RunUntilHonoursAShortTimeout) {
  ZVRunLoop loop;
  const auto started = std::chrono::steady_clock::now();
  EXPECT_FALSE(loop.runUntil([] { return false; }, 0.05));
  const auto elapsed = std::chrono::steady_clock::now() - started;
  EXPECT_GE(elapsed, std::chrono::milliseconds(45));
  EXPECT_LT(elapsed, std::chrono::seconds(5));
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
}

TEST(ZVSerialQueueReal, RunsOffTheMainThreadInOrderAndReportsBack) {
  ZVRunLoop loop;
  std::vector<int> order;
  bool done = false;
  {
    ZVSerialQueue queue("vantu.ble.write.queue", loop);
    const auto mainThread = std::this_thread::get_id();
    for (int i = 0; i < 50; ++i) {
      queue.async([&, i] {
        EXPECT_NE(std::this_thread::get_id(), mainThread);
        order.push_back(i);
      });
    }
    queue.async([&] { loop.post([&] { done = true; }); });
    EXPECT_TRUE(loop.runUntil([&] { return done; }, 10.0));
  }
  ASSERT_EQ(order.size(), 50u);
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(order[static_cast<size_t>(i)], i);
}

} // namespace
