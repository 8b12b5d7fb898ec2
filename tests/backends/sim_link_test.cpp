// The simulated central and virtual printer driven through the Bluetooth
// port, as the connection layer drives a real printer.
#include "backends/printer_bytes_support.h"
#include "backends/sim_host_support.h"

#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVSerialQueue.h>
#include <zvprinter/ZVTarvoResolver.h>

#include <gtest/gtest.h>

using namespace zvtest;

namespace {

constexpr const char *kIsscRead = "49535343-1E4D-4BD9-BA61-23C647249616";
const ZVData kStatusQuery{0x1B, 0x21, 0x3F, 0x0D, 0x0A};

struct Rig {
  explicit Rig(ZVVirtualPrinterConfig config = {})
      : printer(std::make_shared<ZVVirtualPrinter>(std::move(config))) {
    central->setDelegate(host);
    central->addPrinter(printer);
  }
  bool connect() { return host->connectAndSubscribe(*central, host); }
  ZVRunLoop loop{ZVRunLoop::Clock::Virtual};
  std::shared_ptr<ZVSimCentral> central = std::make_shared<ZVSimCentral>(loop);
  std::shared_ptr<TestHost> host = std::make_shared<TestHost>(loop);
  std::shared_ptr<ZVVirtualPrinter> printer;
};

ZVVirtualPrinterConfig ivt() {
  ZVVirtualPrinterConfig config;
  config.profile = ZVVirtualPrinterProfile::IVT;
  return config;
}

TEST(SimCentral, AdvertisesStatesAndRetrievesByIdentifier) {
  ZVVirtualPrinterConfig config;
  config.advertisedName = "";
  Rig rig(config);
  rig.loop.runFor(0.1);
  rig.central->scanForPeripherals(std::nullopt, false);
  rig.loop.runFor(0.1);
  rig.central->advertiseAgain(rig.printer);
  rig.loop.runFor(0.1);
  ASSERT_EQ(rig.host->advertisements.size(), 2u);
  const auto &ad = rig.host->advertisements[0];
  EXPECT_EQ(ad.localName, "");
  EXPECT_EQ(rig.host->peripheral->name(), "ZV-P1");
  EXPECT_EQ(ad.isConnectable, 1);
  EXPECT_EQ(ad.manufacturerData, (ZVData{0x5A, 0x56, 0xDC, 0x0D, 0x30, 0x1A, 0x2B, 0x3C}));
  EXPECT_EQ(rig.host->rssis[0], -60);

  const std::string id = rig.printer->identifier();
  EXPECT_TRUE(rig.central->isValidIdentifier(id));
  EXPECT_FALSE(rig.central->isValidIdentifier("not-a-uuid"));
  const auto found = rig.central->retrievePeripherals({"nope", id});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], rig.host->peripheral); // the same object: compared by identity

  // Out of range: a connection waits, and completes once the printer is back.
  rig.central->removePrinter(rig.printer);
  rig.central->connect(found[0]);
  rig.loop.runFor(1.0);
  EXPECT_EQ(found[0]->state(), ZVBlePeripheralStateConnecting);
  rig.central->addPrinter(rig.printer);
  rig.loop.runFor(1.0);
  EXPECT_EQ(found[0]->state(), ZVBlePeripheralStateConnected);
  EXPECT_EQ(rig.host->events.back(), "connected");

  rig.central->setPoweredOn(false);
  rig.loop.runFor(0.1);
  rig.central->setPoweredOn(true);
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.host->events.front(), "state 5");
  EXPECT_EQ(rig.host->events[rig.host->events.size() - 2], "state 4");
  EXPECT_EQ(rig.host->events.back(), "state 5");
}

TEST(SimCentral, ProfilesOfferTheirServices) {
  const std::vector<std::pair<ZVVirtualPrinterProfile, std::string>> cases{
      {ZVVirtualPrinterProfile::ISSC, "services 49535343-FE7D-4AE5-8FA9-9FAFD205E455 180A"},
      {ZVVirtualPrinterProfile::IVT, "services 180A FF00"},
      {ZVVirtualPrinterProfile::Both, "services 49535343-FE7D-4AE5-8FA9-9FAFD205E455 180A FF00"},
      {ZVVirtualPrinterProfile::None, "services"}};
  for (const auto &[profile, expected] : cases) {
    ZVVirtualPrinterConfig config;
    config.profile = profile;
    Rig rig(config);
    ASSERT_TRUE(rig.connect());
    EXPECT_NE(std::find(rig.host->events.begin(), rig.host->events.end(), expected),
              rig.host->events.end())
        << expected;
  }
}

TEST(SimCentral, IsscAcknowledgesEveryWriteAndAnswersOnTheReadCharacteristic) {
  Rig rig;
  ASSERT_TRUE(rig.connect());
  EXPECT_TRUE(rig.host->characteristics.at(kIsscRead)->isNotifying());
  rig.host->peripheral->readValue(rig.host->characteristics.at("2A24"));
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.host->received("2A24"), bytes("ZV-P1"));

  ZVData job = printFrame(48, 30, patternRaster(48, 30));
  append(job, kStatusQuery);
  rig.host->writeInChunks(job, 127, ZVBleWriteWithResponse);
  rig.loop.runFor(1.0);
  const size_t chunks = (job.size() + 126) / 127;
  ASSERT_EQ(rig.host->writeResults.size(), chunks);
  for (const auto &result : rig.host->writeResults)
    EXPECT_FALSE(result);
  // Stop-and-wait: a write goes at one connection event, its answer at the next.
  for (size_t i = 1; i < chunks; ++i) {
    EXPECT_NEAR(rig.host->writeResultTimes[i] - rig.host->writeResultTimes[i - 1], 0.015, 1e-9);
  }
  EXPECT_EQ(rig.printer->statistics().bytesReceived, job.size());
  EXPECT_EQ(rig.printer->paperRows().size(), 30u);
  ZVData expected = bytes("tarvo_sta=\x81");
  append(expected, bytes(std::string("dithering_finis") + '\0'));
  EXPECT_EQ(rig.host->received(kIsscRead), expected);
}

TEST(SimCentral, IvtAnnouncesChunkSizeGrantsAndReturnsCredits) {
  Rig rig(ivt());
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
  for (const auto &n : rig.host->notifications) {
    ASSERT_EQ(n.uuid, "FF03");
    ASSERT_EQ(n.value.size(), 2u);
    EXPECT_EQ(n.value[0], 0x01);
    returned += n.value[1];
  }
  EXPECT_EQ(returned, 5);
}

TEST(SimCentral, WriteFaultsReachTheHost) {
  Rig rig;
  rig.printer->faults().rejectedWrites = {1};
  rig.printer->faults().lostAcknowledgements = {2};
  ASSERT_TRUE(rig.connect());
  const auto write = rig.host->characteristics.at("49535343-8841-43F4-A8D4-ECBE34729BB3");
  for (int i = 0; i < 4; ++i)
    rig.host->peripheral->writeValue({'\n'}, write, 0);
  rig.host->peripheral->writeValue(ZVData(245, '\n'), write, 0); // over the ATT limit
  rig.loop.runFor(0.5);
  ASSERT_EQ(rig.host->writeResults.size(), 4u); // write 2 was never answered
  EXPECT_FALSE(rig.host->writeResults[0]);
  ASSERT_TRUE(rig.host->writeResults[1]);
  EXPECT_EQ(rig.host->writeResults[1]->code, ZVSimErrorWriteRejected);
  EXPECT_FALSE(rig.host->writeResults[2]);
  ASSERT_TRUE(rig.host->writeResults[3]);
  EXPECT_EQ(rig.host->writeResults[3]->code, ZVSimErrorValueTooLong);
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 3u);
}

TEST(SimCentral, DisconnectAfterNBytesDropsTheLinkWithAnError) {
  Rig rig;
  rig.printer->faults().disconnectAfterBytes = 200;
  ASSERT_TRUE(rig.connect());
  rig.host->writeInChunks(ZVData(1000, '\n'), 127, ZVBleWriteWithResponse);
  rig.loop.runFor(0.5);
  EXPECT_TRUE(rig.host->disconnected);
  ASSERT_TRUE(rig.host->disconnectError);
  EXPECT_EQ(rig.host->disconnectError->code, ZVSimErrorLinkLost);
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 200u);
  EXPECT_EQ(rig.host->peripheral->state(), ZVBlePeripheralStateDisconnected);
  EXPECT_FALSE(rig.printer->isConnected());
  EXPECT_EQ(rig.host->writeResults.size(), 1u); // the second chunk's answer never came
}

TEST(SimCentral, ReplyFaultsGarbleSplitOrSilenceTheAnswers) {
  Rig rig;
  rig.printer->faults().garbageBeforeReplies = {0x00, 0x41};
  rig.printer->faults().splitReplies = true;
  ASSERT_TRUE(rig.connect());
  rig.host->writeInChunks(kStatusQuery, 127, ZVBleWriteWithResponse);
  rig.loop.runFor(0.1);
  ASSERT_EQ(rig.host->notifications.size(), 2u);
  ZVData expected{0x00, 0x41};
  append(expected, bytes("tarvo_sta=\x80"));
  EXPECT_EQ(rig.host->received(kIsscRead), expected);

  rig.printer->faults().silent = true;
  rig.host->writeInChunks(kStatusQuery, 127, ZVBleWriteWithResponse);
  rig.loop.runFor(0.1);
  EXPECT_EQ(rig.host->notifications.size(), 2u);
}

TEST(SimCentral, GarbledSplitRepliesStillResolveWithTheLibrarysResolver) {
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
  ZVTarvoResolver resolver;
  std::vector<std::pair<uint64_t, ZVData>> models;
  resolver.setResolvedBlock([&](const std::shared_ptr<ZVCommonResolveModel> &model) {
    const auto *reply = dynamic_cast<const ZVTarvoResolverModel *>(model.get());
    ASSERT_NE(reply, nullptr);
    models.emplace_back(reply->type, reply->data);
  });
  for (const auto &n : rig.host->notifications) {
    if (n.uuid == kIsscRead) resolver.readDeviceInput(n.value);
  }
  const ZVData garbage{0x00, 0x41};
  EXPECT_EQ(models, (std::vector<std::pair<uint64_t, ZVData>>{{3, garbage},
                                                              {0, {0x80}},
                                                              {3, garbage},
                                                              {2, {0, 0, 0, 0, 0}},
                                                              {3, garbage},
                                                              {1, {0x00}},
                                                              {3, garbage},
                                                              {4, {0x07}}}));
}

TEST(SimCentral, SilentOrGrantLosingIvtModuleAndRefusedConnections) {
  {
    Rig rig(ivt());
    rig.printer->faults().lostCreditGrants = 1;
    ASSERT_TRUE(rig.connect());
    rig.loop.runFor(0.1);
    EXPECT_EQ(rig.host->received("FF03"), (ZVData{0x02, 0xF4, 0x00}));
  }
  {
    Rig rig;
    rig.printer->faults().refuseConnection = true;
    EXPECT_FALSE(rig.connect());
    EXPECT_EQ(rig.host->events.back(), "failed " + std::to_string(ZVSimErrorConnectionRefused));
  }
  {
    Rig rig;
    rig.printer->faults().ignoreConnection = true;
    EXPECT_FALSE(rig.connect());
    EXPECT_EQ(rig.host->peripheral->state(), ZVBlePeripheralStateConnecting);
    rig.central->cancelPeripheralConnection(rig.host->peripheral);
    EXPECT_EQ(rig.host->peripheral->state(), ZVBlePeripheralStateDisconnected);
  }
}

TEST(SimCentral, FirmwareTransferOverTheLinkWithARejectedFrame) {
  ZVData image(5000);
  for (size_t i = 0; i < image.size(); ++i)
    image[i] = static_cast<uint8_t>(i ^ (i >> 8));
  Rig rig;
  rig.printer->faults().firmwareRejections = 1;
  ASSERT_TRUE(rig.connect());
  std::vector<ZVData> acks;
  for (uint32_t offset = 0; offset < image.size();) {
    const size_t n = std::min<size_t>(2016, image.size() - offset);
    rig.host->notifications.clear();
    rig.host->writeInChunks(firmwareFrame(offset, std::span(image).subspan(offset, n)), 127,
                            ZVBleWriteWithResponse);
    ASSERT_TRUE(rig.loop.runUntil([&] { return rig.host->received(kIsscRead).size() == 8; }, 7));
    acks.push_back(rig.host->received(kIsscRead));
    if (acks.back()[6] == 0) offset += static_cast<uint32_t>(n); // else send it again
  }
  ASSERT_EQ(acks.size(), 4u);
  EXPECT_EQ(acks[0], (ZVData{0x1B, 0x1C, 0x26, 0, 0, 0, 4, 0}));
  EXPECT_EQ(acks[1], (ZVData{0x1B, 0x1C, 0x26, 0, 0, 0, 0, 0}));
  EXPECT_EQ(acks[3], (ZVData{0x1B, 0x1C, 0x26, 0xC0, 0x0F, 0, 0, 0})); // offset 4032
  EXPECT_EQ(rig.printer->firmwareImage(), image);
}

TEST(SimCentral, RealTimeWritesFromTheWriteQueueThread) {
  ZVRunLoop loop; // real clock: the write queue has a thread of its own
  auto central = std::make_shared<ZVSimCentral>(loop);
  auto host = std::make_shared<TestHost>(loop);
  auto printer = std::make_shared<ZVVirtualPrinter>(ivt());
  central->setDelegate(host);
  central->addPrinter(printer);
  ASSERT_TRUE(host->connectAndSubscribe(*central, host));
  ASSERT_TRUE(loop.runUntil([&] { return host->received("FF03").size() == 5; }, 5));
  ZVSerialQueue queue("test.write.queue", loop);
  const auto target = host->characteristics.at("FF02");
  const auto peripheral = host->peripheral;
  queue.async([peripheral, target] {
    for (int i = 0; i < 5; ++i)
      peripheral->writeValue(ZVData(20, '\n'), target, 1);
  });
  EXPECT_TRUE(loop.runUntil([&] { return printer->statistics().bytesReceived == 100; }, 5));
  EXPECT_EQ(printer->statistics().creditOverruns, 0u);
}

TEST(ZVPlatform, FactoryChoosesTheCentral) {
  ZVRunLoop loop(ZVRunLoop::Clock::Virtual);
  auto mine = std::make_shared<ZVSimCentral>(loop);
  ZVPlatform::setCentralFactory([&] { return mine; });
  EXPECT_EQ(ZVPlatform::makeCentral(), mine);
  ZVPlatform::setCentralFactory(nullptr);
  auto fallback = ZVPlatform::makeCentral();
  ASSERT_TRUE(fallback);
  EXPECT_NE(fallback, mine);
}

TEST(ZVBleUUIDString, ShortensSigUuidsAndUpperCases) {
  EXPECT_EQ(ZVBleUUIDString("0000ff00-0000-1000-8000-00805f9b34fb"), "FF00");
  EXPECT_EQ(ZVBleUUIDString("2a24"), "2A24");
  EXPECT_EQ(ZVBleUUIDString("49535343-fe7d-4ae5-8fa9-9fafd205e455"),
            "49535343-FE7D-4AE5-8FA9-9FAFD205E455");
  EXPECT_EQ(ZVBleUUIDString("1234ff00-0000-1000-8000-00805f9b34fb"),
            "1234FF00-0000-1000-8000-00805F9B34FB");
}

} // namespace
