// The simulated central and virtual printer driven through the Bluetooth
// port, as the connection layer drives a real printer.
#include "backends/printer_bytes_support.h"
#include "backends/sim_host_support.h"

#include <zvprinter/ZVSerialQueue.h>

#include <gtest/gtest.h>

using namespace zvtest;

namespace {

const ZVData kStatusQuery{0x1B, 0x21, 0x3F, 0x0D, 0x0A};

TEST(SimCentral, ConnectionsWaitForThePrinterFailOrAreCancelled) {
  Rig rig;
  rig.loop.runFor(0.1);
  rig.central->scanForPeripherals(std::nullopt, false);
  rig.loop.runFor(0.1);
  const std::string id = rig.printer->identifier();
  EXPECT_FALSE(rig.central->isValidIdentifier("not-a-uuid"));
  const auto found = rig.central->retrievePeripherals({"nope", id});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], rig.host->peripheral); // the same object: compared by identity

  rig.central->removePrinter(rig.printer);
  rig.central->connect(found[0]);
  rig.loop.runFor(1.0);
  EXPECT_EQ(found[0]->state(), ZVBlePeripheralStateConnecting);
  rig.central->addPrinter(rig.printer);
  rig.loop.runFor(1.0);
  EXPECT_EQ(found[0]->state(), ZVBlePeripheralStateConnected);

  Rig refused;
  refused.printer->faults().refuseConnection = true;
  EXPECT_FALSE(refused.connect());
  ASSERT_TRUE(refused.host->connectError);
  EXPECT_EQ(refused.host->connectError->code, ZVSimErrorConnectionRefused);

  Rig ignored;
  ignored.printer->faults().ignoreConnection = true;
  EXPECT_FALSE(ignored.connect());
  EXPECT_EQ(ignored.host->peripheral->state(), ZVBlePeripheralStateConnecting);
  ignored.central->cancelPeripheralConnection(ignored.host->peripheral);
  EXPECT_EQ(ignored.host->peripheral->state(), ZVBlePeripheralStateDisconnected);
}

TEST(SimCentral, ProfilesOfferTheirServices) {
  const std::string issc = "49535343-FE7D-4AE5-8FA9-9FAFD205E455";
  const std::vector<std::pair<ZVVirtualPrinterProfile, std::vector<std::string>>> cases{
      {ZVVirtualPrinterProfile::ISSC, {issc, "180A"}},
      {ZVVirtualPrinterProfile::IVT, {"180A", "FF00"}},
      {ZVVirtualPrinterProfile::Both, {issc, "180A", "FF00"}},
      {ZVVirtualPrinterProfile::None, {}}};
  for (const auto &[profile, expected] : cases) {
    Rig rig(profile);
    ASSERT_TRUE(rig.connect());
    std::vector<std::string> offered;
    for (const auto &service : rig.host->peripheral->services())
      offered.push_back(service->uuid());
    EXPECT_EQ(offered, expected);
  }
}

TEST(SimCentral, IsscAcknowledgesEveryWriteAndAnswersOnTheReadCharacteristic) {
  Rig rig;
  ASSERT_TRUE(rig.connect());
  rig.host->peripheral->readValue(rig.host->characteristics.at("2A24"));
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.host->received("2A24"), bytes("ZV-P1"));

  ZVData job = printFrame(48, 30, patternRaster(48, 30));
  append(job, kStatusQuery);
  rig.host->writeInChunks(job, 127, ZVBleWriteWithResponse);
  rig.loop.runFor(1.0);
  const size_t chunks = (job.size() + 126) / 127;
  ASSERT_EQ(rig.host->writeResults.size(), chunks);
  for (size_t i = 0; i < chunks; ++i) {
    EXPECT_FALSE(rig.host->writeResults[i]);
    // Stop-and-wait: a write goes at one connection event, its answer at the next.
    if (i > 0) {
      EXPECT_NEAR(rig.host->writeResultTimes[i] - rig.host->writeResultTimes[i - 1], 0.015, 1e-9);
    }
  }
  EXPECT_EQ(rig.printer->paperRows().size(), 30u);
  EXPECT_EQ(rig.host->received(kIsscRead), bytes(std::string("tarvo_sta=\x81"
                                                             "dithering_finis") +
                                                 '\0'));
}

TEST(SimCentral, IvtAnnouncesChunkSizeGrantsAndReturnsCredits) {
  Rig rig(ZVVirtualPrinterProfile::IVT);
  ASSERT_TRUE(rig.connect());
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.host->received("FF03"), (ZVData{0x02, 0xF4, 0x00, 0x01, 0x05}));
  rig.host->notifications.clear();

  // Six writes on five credits: the sixth overruns the module and is lost.
  rig.host->writeInChunks(ZVData(6 * 20, 0x0A), 20, ZVBleWriteWithoutResponse);
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.printer->statistics().creditOverruns, 1u);
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 100u);
  int returned = 0;
  for (const auto &[uuid, grant] : rig.host->notifications)
    returned += grant.size() == 2 && grant[0] == 0x01 ? grant[1] : 100;
  EXPECT_EQ(returned, 5);
}

TEST(SimCentral, WriteFaultsAndADroppedLinkReachTheHost) {
  Rig rig;
  rig.printer->faults().rejectedWrites = {1};
  rig.printer->faults().lostAcknowledgements = {2};
  rig.printer->faults().disconnectAfterBytes = 200;
  ASSERT_TRUE(rig.connect());
  const auto write = rig.host->characteristics.at(kIsscWrite);
  for (int i = 0; i < 4; ++i)
    rig.host->peripheral->writeValue({'\n'}, write, ZVBleWriteWithResponse);
  rig.host->peripheral->writeValue(ZVData(245, '\n'), write, ZVBleWriteWithResponse);
  rig.loop.runFor(0.5);
  const auto code = [](const std::optional<ZVError> &e) { return e ? e->code : int64_t{0}; };
  ASSERT_EQ(rig.host->writeResults.size(), 4u); // write 2 was never answered
  EXPECT_EQ(code(rig.host->writeResults[0]), 0);
  EXPECT_EQ(code(rig.host->writeResults[1]), ZVSimErrorWriteRejected);
  EXPECT_EQ(code(rig.host->writeResults[2]), 0);
  EXPECT_EQ(code(rig.host->writeResults[3]), ZVSimErrorValueTooLong); // over the ATT limit
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 3u);

  // The link drops after 200 bytes: the second chunk is never answered.
  rig.host->writeInChunks(ZVData(1000, '\n'), 127, ZVBleWriteWithResponse);
  rig.loop.runFor(0.5);
  EXPECT_EQ(code(rig.host->disconnectError), ZVSimErrorLinkLost);
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 200u);
  EXPECT_EQ(rig.host->peripheral->state(), ZVBlePeripheralStateDisconnected);
  EXPECT_EQ(rig.host->writeResults.size(), 5u);
}

TEST(SimCentral, GarbledSplitOrSilencedReplies) {
  Rig rig;
  rig.printer->faults().garbageBeforeReplies = {0x00, 0x41};
  rig.printer->faults().splitReplies = true;
  ASSERT_TRUE(rig.connect());
  ZVData job = kStatusQuery;
  append(job, printFrame(1, 1, ZVData{0x00}));
  append(job, firmwareFrame(0, ZVData{1, 2, 3}));
  rig.host->writeInChunks(job, 127, ZVBleWriteWithResponse);
  rig.loop.runFor(1.0);
  rig.printer->requestDisconnect(7);
  rig.loop.runFor(0.1);
  ASSERT_EQ(rig.host->notifications.size(), 8u); // each reply in two values
  const std::string garbage("\0A", 2);
  EXPECT_EQ(rig.host->received(kIsscRead),
            bytes(garbage + "tarvo_sta=\x80" + garbage + std::string("\x1B\x1C&\0\0\0\0\0", 8) +
                  garbage + "dithering_finis" + '\0' + garbage + "Disconnect_B\x07"));

  rig.printer->faults().silent = true;
  rig.host->writeInChunks(kStatusQuery, 127, ZVBleWriteWithResponse);
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.host->notifications.size(), 8u);
}

TEST(SimCentral, RealTimeWritesFromTheWriteQueueThread) {
  Rig rig(ZVVirtualPrinterProfile::IVT, ZVRunLoop::Clock::Real);
  ASSERT_TRUE(rig.connect());
  ASSERT_TRUE(rig.loop.runUntil([&] { return rig.host->received("FF03").size() == 5; }, 5));
  ZVSerialQueue queue("test.write.queue", rig.loop);
  queue.async([peripheral = rig.host->peripheral, target = rig.host->characteristics.at("FF02")] {
    for (int i = 0; i < 5; ++i)
      peripheral->writeValue(ZVData(20, '\n'), target, ZVBleWriteWithoutResponse);
  });
  EXPECT_TRUE(rig.loop.runUntil([&] { return rig.printer->statistics().bytesReceived == 100; }, 5));
  EXPECT_EQ(rig.printer->statistics().creditOverruns, 0u);
}

TEST(ZVBleUUIDString, ShortensSigUuidsAndUpperCases) {
  EXPECT_EQ(ZVBleUUIDString("0000ff00-0000-1000-8000-00805f9b34fb"), "FF00");
  EXPECT_EQ(ZVBleUUIDString("2a24"), "2A24");
  EXPECT_EQ(ZVBleUUIDString("1234ff00-0000-1000-8000-00805f9b34fb"),
            "1234FF00-0000-1000-8000-00805F9B34FB");
}

} // namespace
