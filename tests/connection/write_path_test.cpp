#include "connection/connection_support.h"

#include <zvprinter/ZVAlgorithmManager.h>

namespace zvtest {
namespace {

class WritePathTest : public ConnectionTest {
protected:
  /// Connects an IVT printer that announced @p chunkSize and @p credits and
  /// from then on returns no credits unless the test injects a grant.
  std::shared_ptr<ZVVirtualPrinter> connectIvt(uint16_t chunkSize, uint8_t credits) {
    auto config = ivtConfig();
    config.ivtChunkSize = chunkSize;
    config.ivtInitialCredits = credits;
    auto printer = addPrinter(config);
    if (!connect(printer)) return nullptr;
    printer->faults().lostCreditGrants = 1u << 30;
    recorder.install(link());
    central->clearCalls();
    return printer;
  }
  std::shared_ptr<ZVVirtualPrinter> connectIssc(const std::string &name = "ZV-P1") {
    ZVVirtualPrinterConfig config;
    config.name = config.advertisedName.emplace(name);
    auto printer = addPrinter(config);
    if (!connect(printer)) return nullptr;
    recorder.install(link());
    central->clearCalls();
    return printer;
  }
  /// The sizes of the chunks written so far.
  std::vector<size_t> chunks() const {
    std::vector<size_t> sizes;
    for (const auto &call : calls("writeValue")) {
      const auto first = call.find(' ', std::string("writeValue ").size());
      sizes.push_back(std::stoul(call.substr(first + 1)));
    }
    return sizes;
  }

  SendRecorder recorder;
};

TEST_F(WritePathTest, Issc300BytesGoOutOneChunkPerAcknowledgement) {
  auto printer = connectIssc();
  ASSERT_TRUE(printer);
  const double start = loop().now();
  link().sendDataToPrinter(bytesOf(300));
  EXPECT_EQ(chunks(), (std::vector<size_t>{})); // written from the queue, not inline
  loop().runFor(0.001);
  EXPECT_EQ(chunks(), (std::vector<size_t>{127})); // one credit: one chunk in flight
  loop().runFor(5.0);
  EXPECT_EQ(chunks(), (std::vector<size_t>{127, 127, 46}));
  EXPECT_EQ(calls("writeValue").front(), std::string("writeValue ") + kIsscWrite + " 127 0");
  EXPECT_EQ(recorder.reports,
            (std::vector<std::string>{"(0,0)", "(300,127)", "(300,254)", "(300,300)"}));
  // Completed by the third acknowledgement, well before the 2 s timer, and
  // the timer that the last chunk armed never reports again.
  EXPECT_LT(recorder.times.back() - start, 0.1);
  EXPECT_EQ(printer->statistics().bytesReceived, 300u);
  EXPECT_EQ(link().credit(), 1);
  EXPECT_EQ(link().totalCount(), 0);
  EXPECT_TRUE(link().isSendSuccess());
  EXPECT_EQ(loop().pendingTimers(), 0u);
}

TEST_F(WritePathTest, IvtFourCreditsWriteFourChunksThenWaitForAGrant) {
  auto printer = connectIvt(180, 4);
  ASSERT_TRUE(printer);
  link().sendDataToPrinter(bytesOf(1000));
  loop().runFor(1.0);
  EXPECT_EQ(chunks(), (std::vector<size_t>{180, 180, 180, 180}));
  EXPECT_EQ(link().credit(), 0);

  central->injectValue(printer, "FF03", {0x01, 0x02});
  loop().runUntil([&] { return chunks().size() == 6; }, 1.0);
  const double lastChunk = loop().now();
  loop().runFor(0.1);
  EXPECT_EQ(chunks(), (std::vector<size_t>{180, 180, 180, 180, 180, 100}));
  // The fifth chunk's report is dropped: when it runs, the same pass has
  // already taken the last chunk and the buffer is empty.
  EXPECT_EQ(recorder.reports, (std::vector<std::string>{"(0,0)", "(1000,180)", "(1000,360)",
                                                        "(1000,540)", "(1000,720)"}));
  // No credits come back: the timer completes the send 2.0 s after the
  // last chunk and restores every credit.
  loop().runFor(5.0);
  ASSERT_EQ(recorder.reports.size(), 6u);
  EXPECT_EQ(recorder.reports.back(), "(1000,1000)");
  EXPECT_NEAR(recorder.times.back() - lastChunk, 2.0, 1e-6);
  EXPECT_EQ(link().credit(), 4);
  EXPECT_EQ(printer->statistics().bytesReceived, 1000u);
}

TEST_F(WritePathTest, IvtCompletesWhenEveryCreditIsBack) {
  auto printer = connectIvt(100, 3);
  ASSERT_TRUE(printer);
  link().sendDataToPrinter(bytesOf(250));
  loop().runFor(0.1);
  EXPECT_EQ(chunks(), (std::vector<size_t>{100, 100, 50}));
  central->injectValue(printer, "FF03", {0x01, 0x02});
  loop().runFor(0.1);
  // All three chunks left in one pass, so their reports found the buffer
  // empty; and 2 of 3 credits back do not complete the send.
  EXPECT_EQ(recorder.reports, (std::vector<std::string>{"(0,0)"}));
  central->injectValue(printer, "FF03", {0x01, 0x02}); // one more than it spent
  loop().runFor(0.1);
  EXPECT_EQ(recorder.reports, (std::vector<std::string>{"(0,0)", "(250,250)"}));
  EXPECT_EQ(link().ivtMaxCredit(), 4); // the ceiling rises with the extra credit
  loop().runFor(5.0);
  EXPECT_EQ(recorder.reports.size(), 2u); // the stopped timer stays silent

  // A chunk-size message once connected changes nothing but still pumps.
  central->injectValue(printer, "FF03", {0x02, 0x10, 0x00});
  loop().runFor(0.1);
  EXPECT_EQ(link().MTU(), 100);
}

TEST_F(WritePathTest, BytesStillWaitingAreCountedAgainByASecondSend) {
  auto printer = connectIvt(100, 1);
  ASSERT_TRUE(printer);
  link().sendDataToPrinter(bytesOf(300));
  loop().runFor(0.1); // one chunk out, 200 waiting
  EXPECT_EQ(link().totalCount(), 300);
  link().sendDataToPrinter(bytesOf(50));
  EXPECT_EQ(link().totalCount(), 550); // += 250, the whole waiting buffer
  loop().runFor(0.1);
  EXPECT_EQ(recorder.reports, (std::vector<std::string>{"(0,0)", "(300,100)", "(0,0)"}));
}

TEST_F(WritePathTest, NothingHappensForEmptyDataOrWithoutALink) {
  auto printer = connectIssc();
  ASSERT_TRUE(printer);
  link().sendDataToPrinter(ZVData{});
  loop().runFor(3.0);
  EXPECT_TRUE(recorder.reports.empty());
  facade().disconnect();
  loop().runFor(0.5);
  link().sendDataToPrinter(bytesOf(10));
  loop().runFor(3.0);
  EXPECT_TRUE(recorder.reports.empty());
  EXPECT_TRUE(calls("writeValue").empty());
}

TEST_F(WritePathTest, StopSendDataEndsTheSendWithoutAReport) {
  auto printer = connectIssc();
  ASSERT_TRUE(printer);
  link().sendDataToPrinter(bytesOf(400));
  loop().runFor(0.001);
  link().stopSendData();
  loop().runFor(5.0);
  EXPECT_EQ(chunks(), (std::vector<size_t>{127}));
  EXPECT_EQ(recorder.reports, (std::vector<std::string>{"(0,0)", "(400,127)"}));
  EXPECT_EQ(link().credit(), 1); // the acknowledgement still returned the credit
}

TEST_F(WritePathTest, RejectedWriteReportsFailureOnce) {
  struct Case {
    const char *label;
    uint64_t rejected;
    std::vector<size_t> chunks;
    std::vector<std::string> reports;
    int64_t creditAfter;
  };
  // 300 bytes are three chunks. A rejected first chunk leaves the link
  // without its credit until the next connection; a rejected last one is
  // followed by the timer's completion report of what is left to count.
  const std::vector<Case> cases = {
      {"first chunk", 0, {127}, {"(0,0)", "(300,127)", "fail"}, 0},
      {"last chunk", 2, {127, 127, 46}, {"(0,0)", "(300,127)", "(300,254)", "fail", "(0,0)"}, 1},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.label);
    auto printer = connectIssc(c.label);
    ASSERT_TRUE(printer);
    printer->faults().rejectedWrites = {c.rejected};
    link().sendDataToPrinter(bytesOf(300));
    loop().runFor(5.0);
    EXPECT_EQ(chunks(), c.chunks);
    EXPECT_EQ(recorder.reports, c.reports);
    EXPECT_EQ(link().credit(), c.creditAfter);
    EXPECT_TRUE(link().totalData().empty());
    facade().disconnect();
    central->removePrinter(printer);
    loop().runFor(1.0);
    recorder = {};
  }
}

TEST_F(WritePathTest, AnErrorOnAnIncomingValueDropsTheBufferSilently) {
  auto printer = connectIvt(100, 2);
  ASSERT_TRUE(printer);
  link().sendDataToPrinter(bytesOf(500));
  loop().runFor(0.1);
  central->injectValue(printer, "FF01", {1}, ZVError{"X", 1, "bad"});
  loop().runFor(0.1);
  EXPECT_TRUE(link().totalData().empty());
  EXPECT_EQ(link().totalCount(), 0);
  central->injectValue(printer, "FF03", {0x01, 0x02});
  loop().runFor(5.0);
  EXPECT_EQ(chunks(), (std::vector<size_t>{100, 100}));
  // The error dropped the 300 waiting bytes; the grant brings every credit
  // back, which completes the send with the count the error cleared.
  EXPECT_EQ(recorder.reports,
            (std::vector<std::string>{"(0,0)", "(500,100)", "(500,200)", "(0,0)"}));
}

TEST_F(WritePathTest, ALinkLostMidSendStopsWritingAndEmptiesTheBuffer) {
  auto printer = connectIssc();
  ASSERT_TRUE(printer);
  printer->faults().disconnectAfterBytes = 200;
  link().sendDataToPrinter(bytesOf(1000));
  loop().runFor(5.0);
  EXPECT_EQ(delegate->events.back(), "disconnect 0");
  EXPECT_EQ(chunks(), (std::vector<size_t>{127, 127}));
  EXPECT_TRUE(link().totalData().empty());
  EXPECT_EQ(std::count(recorder.reports.begin(), recorder.reports.end(), "fail"), 0);
}

TEST_F(WritePathTest, AHalfFrameFromADroppedLinkDoesNotSpoilTheNextJob) {
  constexpr int32_t kWidthBytes = 8;
  constexpr int32_t kRows = 40;
  ZVData raster(size_t{kWidthBytes} * kRows);
  for (size_t i = 0; i < raster.size(); ++i)
    raster[i] = static_cast<uint8_t>(i * 37 % 251);
  const ZVData job = ZVAlgorithmManager::managerData(
      raster.data(), static_cast<int32_t>(raster.size()), kWidthBytes, kRows, 48, true);
  ZVVirtualPrinter reference;
  reference.receive(job);
  reference.endOfInput();
  const auto frames = reference.statistics().printFrames;
  ASSERT_GT(job.size(), 127u); // more than one ISSC chunk
  ASSERT_GE(frames, 1u);

  // The link drops 20 bytes into the first frame.
  auto printer = connectIssc();
  ASSERT_TRUE(printer);
  printer->faults().disconnectAfterBytes = 20;
  link().sendDataToPrinter(job);
  loop().runFor(2.0);
  ASSERT_EQ(delegate->events.back(), "disconnect 0");
  EXPECT_EQ(printer->statistics().printFrames, 0u);

  // Write faults count from each link: "write 0" is the new link's first.
  printer->faults().disconnectAfterBytes.reset();
  printer->faults().rejectedWrites = {0};
  central->addPrinter(printer);
  ASSERT_TRUE(connect(printer));
  recorder = {};
  recorder.install(link());
  link().sendDataToPrinter(job);
  loop().runFor(3.0);
  const std::string total = std::to_string(job.size());
  EXPECT_EQ(recorder.reports, (std::vector<std::string>{"(0,0)", "(" + total + ",127)", "fail"}));
  EXPECT_EQ(printer->statistics().bytesReceived, 20u);

  printer->faults().rejectedWrites.clear();
  facade().disconnect();
  loop().runFor(0.5);
  ASSERT_TRUE(connect(printer)); // a new link gives the spent credit back
  link().sendDataToPrinter(job);
  loop().runFor(3.0);
  EXPECT_EQ(printer->statistics().printFrames, frames);
  EXPECT_EQ(printer->paperRows(), reference.paperRows());
}

} // namespace
} // namespace zvtest
