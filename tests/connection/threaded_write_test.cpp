// The write path under the real clock: the write queue runs on its own
// thread while the main loop takes acknowledgements, grants and reports.
// Built and run under ThreadSanitizer in CI (scripts/test.sh).

#include "connection/connection_support.h"

#include <numeric>

namespace zvtest {
namespace {

class ThreadedWritePathTest : public ConnectionTest,
                              public ::testing::WithParamInterface<ZVVirtualPrinterProfile> {
protected:
  ThreadedWritePathTest() { clock = ZVRunLoop::Clock::Real; }
};

TEST_P(ThreadedWritePathTest, EveryByteArrivesOnceAndTheSendCompletesOnce) {
  auto &loop = ZVRunLoop::main();
  auto &link = ZVPeripheralManager::share();
  ZVVirtualPrinterConfig config;
  config.profile = GetParam();
  config.connectionInterval = 0.002;
  auto printer = addPrinter(config);
  ASSERT_TRUE(connect(printer));

  std::vector<ZVProgress> reports;
  link.setSendProgressBlock([&](const ZVProgress &p) { reports.push_back(p); });
  int failures = 0;
  link.setSendFailedBlock([&] { ++failures; });
  // Three pieces, the later ones while the first is being written.
  const std::vector<size_t> pieces = {6000, 3000, 1000};
  for (const size_t piece : pieces) {
    link.sendDataToPrinter(bytesOf(piece, static_cast<uint8_t>(piece)));
    loop.runFor(0.005);
  }
  const auto total = static_cast<uint64_t>(std::accumulate(pieces.begin(), pieces.end(), 0));
  ASSERT_TRUE(loop.runUntil(
      [&] {
        return !reports.empty() && reports.back().totalUnitCount > 0 &&
               reports.back().totalUnitCount == reports.back().completedUnitCount;
      },
      30.0));
  loop.runFor(2.5); // room for a stray second completion or late chunk

  EXPECT_EQ(failures, 0);
  EXPECT_EQ(printer->statistics().bytesReceived, total);
  EXPECT_EQ(printer->statistics().creditOverruns, 0u);
  uint64_t written = 0;
  for (const auto &call : central->calls()) {
    if (call.rfind("writeValue", 0) != 0) continue;
    const auto space = call.find(' ', std::string("writeValue ").size());
    const auto length = std::stoul(call.substr(space + 1));
    EXPECT_LE(length, static_cast<unsigned long>(link.MTU()));
    written += length;
  }
  EXPECT_EQ(written, total);
  const auto completions = std::count_if(reports.begin(), reports.end(), [](const ZVProgress &p) {
    return p.totalUnitCount > 0 && p.totalUnitCount == p.completedUnitCount;
  });
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(link.credit(), link.ivtMaxCredit());
  EXPECT_TRUE(link.isSendSuccess());
}

TEST_P(ThreadedWritePathTest, StoppingAndDisconnectingMidSendIsSafe) {
  auto &loop = ZVRunLoop::main();
  auto &link = ZVPeripheralManager::share();
  ZVVirtualPrinterConfig config;
  config.profile = GetParam();
  ASSERT_TRUE(connect(addPrinter(config)));
  for (int round = 0; round < 20; ++round) {
    link.sendDataToPrinter(bytesOf(4000));
    loop.runFor(0.003);
    link.stopSendData();
  }
  link.sendDataToPrinter(bytesOf(4000));
  loop.runFor(0.01);
  facade().disconnect();
  ASSERT_TRUE(loop.runUntil([&] { return delegate->count("disconnect 1") == 1; }, 10.0));
  loop.runFor(0.1);
  EXPECT_TRUE(link.totalData().empty());
  EXPECT_FALSE(link.isConnected());
}

INSTANTIATE_TEST_SUITE_P(Profiles, ThreadedWritePathTest,
                         ::testing::Values(ZVVirtualPrinterProfile::ISSC,
                                           ZVVirtualPrinterProfile::IVT),
                         [](const auto &info) {
                           return info.param == ZVVirtualPrinterProfile::ISSC ? "ISSC" : "IVT";
                         });

} // namespace
} // namespace zvtest
