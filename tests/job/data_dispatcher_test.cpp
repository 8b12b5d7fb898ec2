// The data dispatcher against a connected virtual printer: the inbound
// order and the one-shot receive callback, and what the write operations do
// when they must not send.

#include "job/job_rig.h"

#include <zvprinter/ZVCmdTSCGenerator.h>
#include <zvprinter/ZVCmdUniGenerator.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVPeripheralManager.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class RecordingResolver : public ZVDataResolver {
public:
  explicit RecordingResolver(std::vector<std::string> &events) : events_(events) {}
  void readDeviceInput(const ZVData &data) override {
    events_.push_back("resolver " + std::to_string(data.size()));
  }
  ZVResolvedBlock resolvedBlock() const override { return {}; }
  void setResolvedBlock(ZVResolvedBlock) override {}

private:
  std::vector<std::string> &events_;
};

TEST(DataDispatcher, ProcessorThenResolverThenReceiveBlockUntilARecognisedReply) {
  zvtest::JobRig rig;
  ASSERT_TRUE(rig.connectThroughFacade()->connected);
  std::vector<std::string> events;
  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  dispatcher.setResolver(std::make_shared<RecordingResolver>(events));
  dispatcher.autoTarvoDeviceStateBlock(
      [&](int64_t status) { events.push_back("status " + std::to_string(status)); });
  dispatcher.receiveBluetoothDataBlock(
      [&](const ZVData &data) { events.push_back("raw " + std::to_string(data.size())); });

  // A device reply no prefix explains reaches the receive block; the status
  // reply clears it before the status callback, so it is not seen raw.
  dispatcher.writeData(ZVCmdUniGenerator::getPrinterModelName());
  ZVRunLoop::main().runFor(1);
  dispatcher.writeData(ZVCmdTSCGenerator::getPrinterStatus());
  ZVRunLoop::main().runFor(1);
  EXPECT_EQ(events, (std::vector<std::string>{"resolver 20", "raw 20", "status 0", "resolver 11"}));
  EXPECT_FALSE(dispatcher.receiveDataBlock());
}

TEST(DataDispatcher, WritesWhileDisconnectedChangeNothing) {
  zvtest::JobRig rig;
  ZVPeripheralManager &link = ZVPeripheralManager::share();
  bool called = false;
  link.setSendProgressBlock([&](const ZVProgress &) { called = true; });
  ZVDataDispatcher::shared().writeData({1, 2, 3});
  ZVDataDispatcher::shared().writeData({1, 2, 3}, {}, [] {});
  EXPECT_TRUE(link.sendProgressBlock()); // not even the progress callback is cleared
  EXPECT_FALSE(link.sendFailedBlock());
  ZVRunLoop::main().runFor(5);
  EXPECT_FALSE(called);
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 0u);
}

TEST(DataDispatcher, ClearBufferDataSilencesTheInterruptedWrite) {
  zvtest::JobRig rig;
  ASSERT_TRUE(rig.connectThroughFacade()->connected);
  int reports = 0;
  ZVDataDispatcher::shared().writeData(
      ZVData(5000, 0x55), [&](const ZVProgress &) { ++reports; }, [&] { ++reports; });
  ZVRunLoop::main().runFor(0.05);
  const int before = reports;
  ZVDataDispatcher::shared().clearBufferData();
  const uint64_t received = rig.printer->statistics().bytesReceived;
  ZVRunLoop::main().runFor(5);
  EXPECT_EQ(reports, before);
  EXPECT_LT(rig.printer->statistics().bytesReceived, 5000u);
  EXPECT_LE(rig.printer->statistics().bytesReceived, received + 127); // at most the chunk in flight
}

} // namespace
