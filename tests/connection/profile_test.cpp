#include "connection/connection_support.h"

#include <zvprinter/ZVDataDispatcher.h>

namespace zvtest {
namespace {

using ProfileTest = ConnectionTest;

TEST_F(ProfileTest, IsscStartUp) {
  auto printer = addPrinter();
  ASSERT_TRUE(connect(printer));
  EXPECT_EQ(link().BLEVender(), ZVBLEVenderISSC);
  EXPECT_EQ(link().MTU(), 127);
  EXPECT_EQ(link().credit(), 1);
  EXPECT_EQ(link().ivtMaxCredit(), 1);
  EXPECT_EQ(link().writeType(), ZVBleWriteWithResponse);
  ASSERT_TRUE(link().characteristicWrite());
  EXPECT_EQ(link().characteristicWrite()->uuid(), kIsscWrite);
  EXPECT_EQ(link().characteristicRead()->uuid(), kIsscRead);
  EXPECT_EQ(calls("discoverServices").size(), 1u);
  EXPECT_EQ(calls("readValue"), (std::vector<std::string>{"readValue 2A24"}));
  EXPECT_EQ(calls("setNotifyValue"),
            (std::vector<std::string>{std::string("setNotifyValue ") + kIsscRead + " 1"}));
  EXPECT_EQ(delegate->count("success"), 1u);

  // The model string resets the chunk size, whatever it was.
  link().setMTU(50);
  central->injectValue(printer, "2A24", {'Z', 'V'});
  loop().runFor(0.1);
  EXPECT_EQ(link().MTU(), 127);
}

TEST_F(ProfileTest, AFailedSubscriptionStillCompletesAnIsscConnection) {
  auto printer = addPrinter();
  printer->faults().failedSubscriptions = {kIsscRead};
  ASSERT_TRUE(connect(printer));
  EXPECT_EQ(delegate->count("success"), 1u);
}

TEST_F(ProfileTest, IvtStartUpFromTheModulesOwnAnnouncements) {
  for (const bool chunkSizeFirst : {true, false}) {
    SCOPED_TRACE(chunkSizeFirst ? "chunk size first" : "grant first");
    auto config = ivtConfig();
    config.name = config.advertisedName.emplace(chunkSizeFirst ? "IVT-A" : "IVT-B");
    config.ivtChunkSize = 180;
    config.ivtInitialCredits = 7;
    config.ivtAnnounceChunkSizeFirst = chunkSizeFirst;
    auto printer = addPrinter(config);
    ASSERT_TRUE(connect(printer));
    EXPECT_EQ(link().BLEVender(), ZVBLEVenderIVT);
    EXPECT_EQ(link().MTU(), 180);
    EXPECT_EQ(link().ivtMaxCredit(), 7);
    EXPECT_EQ(link().credit(), 7);
    EXPECT_EQ(link().writeType(), ZVBleWriteWithoutResponse);
    EXPECT_EQ(link().characteristicFlowControl()->uuid(), "FF03");
    EXPECT_EQ(delegate->count("success"), 1u);
    facade().disconnect();
    loop().runFor(0.5);
    delegate->clear();
  }
}

// The module is silent; the test speaks for it on FF03.
TEST_F(ProfileTest, IvtFlowControlMessagesAtStartUp) {
  struct Case {
    const char *label;
    std::vector<ZVData> messages;
    int64_t mtu;
    int64_t credits;
    bool connected;
  };
  const std::vector<Case> cases = {
      {"size then grant", {{2, 0xF4, 0x00}, {1, 5}}, 244, 5, true},
      {"grant then size", {{1, 5}, {2, 0xF4, 0x00}}, 244, 5, true},
      {"grants add up", {{1, 2}, {1, 3}, {1, 255}, {2, 0x00, 0x01}}, 256, 260, true},
      {"size alone", {{2, 0xF4, 0x00}}, 244, 0, false},
      {"grant alone", {{1, 5}}, 20, 5, false},
      {"short and unknown messages count for nothing",
       {{}, {1}, {2, 0x10}, {3, 9, 9}, {0, 5}},
       20,
       0,
       false},
      {"size 0 keeps 20 but counts", {{2, 0, 0}, {1, 1}}, 20, 1, true},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    const Case &c = cases[i];
    SCOPED_TRACE(c.label);
    auto config = ivtConfig();
    config.name = config.advertisedName.emplace("IVT-" + std::to_string(i));
    auto printer = addPrinter(config);
    printer->faults().silent = true;
    auto record = scanFor(printer);
    facade().connectPrinter(record);
    loop().runFor(0.5);
    EXPECT_EQ(link().MTU(), 20);
    EXPECT_EQ(link().credit(), 0);
    for (const auto &message : c.messages) {
      central->injectValue(printer, "FF03", message);
      loop().runFor(0.05);
    }
    EXPECT_EQ(link().MTU(), c.mtu);
    EXPECT_EQ(link().credit(), c.credits);
    EXPECT_EQ(facade().isConnected(), c.connected);
    EXPECT_EQ(delegate->count("success"), c.connected ? 1u : 0u);
    if (c.connected) {
      EXPECT_EQ(link().ivtMaxCredit(), c.credits);
    }
    // Clean slate for the next case.
    central->removePrinter(printer);
    loop().runFor(5.0);
    delegate->clear();
  }
}

TEST_F(ProfileTest, AModuleWithBothServicesIsIvt) {
  auto config = ivtConfig();
  config.profile = ZVVirtualPrinterProfile::Both;
  auto printer = addPrinter(config);
  printer->faults().silent = true;
  facade().connectPrinter(scanFor(printer));
  loop().runFor(0.5);
  EXPECT_EQ(link().BLEVender(), ZVBLEVenderIVT);
  EXPECT_EQ(link().MTU(), 20);
  EXPECT_EQ(link().credit(), 0);
  EXPECT_FALSE(facade().isConnected());
  EXPECT_TRUE(calls("readValue").empty()); // the ISSC handler is not run

  // With its announcements it connects and answers where the library reads.
  // (The silent attempt never ends by itself; dropping the link ends it.)
  printer->faults().silent = false;
  central->removePrinter(printer);
  loop().runFor(5.0);
  central->addPrinter(printer);
  delegate->clear();
  facade().connectPrinter(scanFor(printer));
  loop().runFor(0.5);
  ASSERT_TRUE(facade().isConnected());
  std::vector<std::string> routed;
  ZVDataDispatcher::shared().setAutoTarvoStateBlock(
      [&](int64_t status) { routed.push_back("status " + std::to_string(status)); });
  const std::string query = "\x1b!?\r\n";
  link().sendDataToPrinter(ZVData(query.begin(), query.end()));
  loop().runFor(0.5);
  EXPECT_EQ(routed, (std::vector<std::string>{"status 0"}));
}

TEST_F(ProfileTest, IncomingValuesAreRoutedInOrderOnlyFromTheReadCharacteristic) {
  auto printer = addPrinter();
  std::vector<std::string> routed;
  auto &dispatcher = ZVDataDispatcher::shared();
  const auto armReceive = [&] {
    dispatcher.setReceiveDataBlock([&](const ZVData &value) {
      routed.push_back("dispatcher " + std::to_string(value.size()));
    });
  };
  // The processor clears the raw receive block before it reports a status;
  // the block is armed again so the dispatcher's own delivery shows after it.
  dispatcher.setAutoTarvoStateBlock([&](int64_t status) {
    if (!dispatcher.receiveDataBlock()) routed.push_back("clear");
    routed.push_back("status " + std::to_string(status));
    armReceive();
  });
  armReceive();
  ASSERT_TRUE(connect(printer));

  const std::string status = std::string("tarvo_sta=") + '\x81';
  central->injectValue(printer, kIsscRead, ZVData(status.begin(), status.end()));
  loop().runFor(0.1);
  // Processor first (it clears the receive callback, then reports the
  // status without its top bit), then the dispatcher.
  EXPECT_EQ(routed, (std::vector<std::string>{"clear", "status 1", "dispatcher 11"}));

  routed.clear();
  central->injectValue(printer, kIsscRead, {}); // empty: not passed on
  central->injectValue(printer, "2A24",
                       ZVData(status.begin(), status.end()));               // other characteristic
  central->injectValue(printer, kIsscRead, {1, 2}, ZVError{"X", 1, "bad"}); // error
  loop().runFor(0.1);
  EXPECT_TRUE(routed.empty());
}

TEST_F(ProfileTest, ValuesBeforeTheLinkIsUsableAreNotPassedOn) {
  auto printer = addPrinter(ivtConfig());
  printer->faults().silent = true;
  std::vector<std::string> routed;
  ZVDataDispatcher::shared().setReceiveDataBlock(
      [&](const ZVData &) { routed.push_back("dispatcher"); });
  facade().connectPrinter(scanFor(printer));
  loop().runFor(0.5);
  central->injectValue(printer, "FF01", {1, 2, 3});
  loop().runFor(0.1);
  EXPECT_TRUE(routed.empty());
  EXPECT_FALSE(link().processer() == nullptr); // made when the link opened
}

} // namespace
} // namespace zvtest
