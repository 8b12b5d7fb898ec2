#include "connection/connection_support.h"

namespace zvtest {
namespace {

using LifecycleTest = ConnectionTest;

TEST_F(LifecycleTest, ConnectingMakesTheLinkUsableAndStopsTheScan) {
  auto printer = addPrinter();
  auto record = scanFor(printer);
  ASSERT_TRUE(record);
  EXPECT_EQ(facade().mode(), ZVPrinterModeNone);
  facade().connectPrinter(record);
  EXPECT_TRUE(manager().isConnecting());
  loop().runFor(1.0);
  EXPECT_EQ(delegate->count("success"), 1u);
  EXPECT_TRUE(facade().isConnected());
  EXPECT_EQ(facade().deviceConnected(), record);
  EXPECT_EQ(facade().mode(), ZVPrinterModeBLE);
  EXPECT_FALSE(manager().isConnecting());
  EXPECT_FALSE(manager().isScaning());
  EXPECT_EQ(calls("stopScan").size(), 2u); // one at the scan's start, one at connection
  // The connect time-out was stopped: nothing more happens.
  loop().runFor(10.0);
  EXPECT_EQ(delegate->events.back(), "success");
  EXPECT_EQ(loop().pendingTimers(), 0u);
}

TEST_F(LifecycleTest, RecordWithoutPeripheralFailsWithCodeOneOnTheNextTurn) {
  facade().connectPrinter(std::make_shared<ZVPrinterMessage>());
  EXPECT_TRUE(delegate->events.empty()); // posted, not synchronous
  EXPECT_TRUE(manager().isConnecting());
  loop().runFor(0.001);
  ASSERT_EQ(delegate->events, (std::vector<std::string>{"fail 1"}));
  EXPECT_EQ(delegate->errors[0].domain, "ZVConnectErrorDomain");
  EXPECT_EQ(delegate->errors[0].localizedDescription, "没有外设对象");
  EXPECT_FALSE(manager().isConnecting());
  EXPECT_TRUE(calls("connect").empty());
}

TEST_F(LifecycleTest, SecondConnectWhileConnectingIsIgnored) {
  auto printer = addPrinter();
  auto record = scanFor(printer);
  facade().connectPrinter(record);
  facade().connectPrinter(record);
  loop().runFor(1.0);
  EXPECT_EQ(calls("connect ").size(), 1u);
  EXPECT_EQ(delegate->count("success"), 1u);
}

TEST_F(LifecycleTest, ConnectToTheConnectedPrinterSucceedsAtOnceWithoutAPlatformCall) {
  auto printer = addPrinter();
  auto record = connect(printer);
  ASSERT_TRUE(record);
  central->clearCalls();
  facade().connectPrinter(record);
  EXPECT_EQ(delegate->count("success"), 2u); // synchronous
  loop().runFor(5.0);
  EXPECT_TRUE(central->calls().empty());
  EXPECT_EQ(delegate->count("success"), 2u);
}

TEST_F(LifecycleTest, NoLinkWithinFourSecondsFailsAndCancelsTheAttempt) {
  auto printer = addPrinter();
  printer->faults().ignoreConnection = true;
  auto record = scanFor(printer);
  const double start = loop().now();
  facade().connectPrinter(record);
  loop().runFor(10.0);
  ASSERT_EQ(delegate->events, (std::vector<std::string>{"fail 4"}));
  EXPECT_DOUBLE_EQ(delegate->times[0] - start, 4.0);
  EXPECT_EQ(delegate->errors[0].localizedDescription, "蓝牙连接失败");
  EXPECT_EQ(calls("cancelPeripheralConnection").size(), 1u);
  EXPECT_TRUE(manager().isConnectFail());
  EXPECT_FALSE(manager().isConnecting());
  // Ready for a new attempt at once.
  printer->faults().ignoreConnection = false;
  facade().connectPrinter(record);
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events.back(), "success");
}

TEST_F(LifecycleTest, RefusalIsReportedAtOnceAndAgainByTheTimeOut) {
  auto printer = addPrinter();
  printer->faults().refuseConnection = true;
  auto record = scanFor(printer);
  const double start = loop().now();
  facade().connectPrinter(record);
  loop().runFor(10.0);
  ASSERT_EQ(delegate->events, (std::vector<std::string>{"fail 4", "fail 4"}));
  EXPECT_EQ(delegate->errors[0].localizedDescription,
            "蓝牙中心为能和外设连接，这个错误一般是暂时的，检查下蓝牙重新连接即可");
  EXPECT_LT(delegate->times[0] - start, 0.1);
  EXPECT_EQ(delegate->errors[1].localizedDescription, "蓝牙连接失败");
  EXPECT_DOUBLE_EQ(delegate->times[1] - start, 4.0);
  EXPECT_FALSE(facade().isConnected());
  EXPECT_EQ(manager().printer(), nullptr);
}

TEST_F(LifecycleTest, ANewAttemptAfterARefusalRetiresTheOldTimeOut) {
  auto printer = addPrinter();
  printer->faults().refuseConnection = true;
  auto record = scanFor(printer);
  facade().connectPrinter(record);
  loop().runFor(1.0);
  printer->faults().refuseConnection = false;
  facade().connectPrinter(record);
  loop().runFor(10.0);
  // The first attempt's timer belongs to an attempt that has ended: it does
  // not report against the second, usable connection.
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"fail 4", "success"}));
  EXPECT_TRUE(facade().isConnected());
}

TEST_F(LifecycleTest, DisconnectReportsAnOrderlyCloseAndCancelConnectReportsNothing) {
  struct Case {
    bool cancel;
    std::vector<std::string> expected;
  };
  for (const Case &c : {Case{false, {"success", "disconnect 1"}}, Case{true, {"success"}}}) {
    auto printer = addPrinter();
    ASSERT_TRUE(connect(printer));
    c.cancel ? facade().cancelConnect() : facade().disconnect();
    loop().runFor(1.0);
    EXPECT_EQ(delegate->events, c.expected);
    EXPECT_FALSE(facade().isConnected());
    EXPECT_EQ(facade().deviceConnected(), nullptr);
    EXPECT_EQ(facade().mode(), ZVPrinterModeBLE); // never reset
    EXPECT_FALSE(link().isConnected());
    central->removePrinter(printer);
    delegate->clear();
  }
}

TEST_F(LifecycleTest, DisconnectAndCancelWhileOnlyConnectingChangeNothingButTheFlag) {
  auto printer = addPrinter();
  printer->faults().ignoreConnection = true;
  auto record = scanFor(printer);
  facade().connectPrinter(record);
  loop().runFor(0.5);
  central->clearCalls();
  facade().disconnect();
  EXPECT_FALSE(manager().isConnectFail());
  facade().cancelConnect();
  EXPECT_TRUE(manager().isConnectFail());
  EXPECT_TRUE(central->calls().empty());
}

TEST_F(LifecycleTest, LostLinkIsReportedWithAnErrorButNotAfterATimeOut) {
  auto printer = addPrinter();
  ASSERT_TRUE(connect(printer));
  central->removePrinter(printer);
  loop().runFor(0.5);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"success", "disconnect 0"}));

  // A time-out marks the attempt failed; the close that follows is silent.
  delegate->clear();
  ZVVirtualPrinterConfig config;
  config.name = "ZV-Slow";
  config.advertisedName = "ZV-Slow";
  auto slow = addPrinter(config);
  slow->faults().servicesNeverReported = true;
  auto record = scanFor(slow);
  facade().connectPrinter(record);
  loop().runFor(4.0);
  EXPECT_EQ(delegate->events.back(), "fail 0");
  central->removePrinter(slow);
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events.back(), "fail 0");
}

TEST_F(LifecycleTest, ServicesNotReportedWithinThreeSecondsFailWithCodeZero) {
  auto printer = addPrinter();
  printer->faults().servicesNeverReported = true;
  auto record = scanFor(printer);
  facade().connectPrinter(record);
  loop().runUntil([&] { return printer->isConnected(); }, 1.0);
  const double opened = loop().now();
  loop().runFor(10.0);
  ASSERT_EQ(delegate->events, (std::vector<std::string>{"fail 0"}));
  EXPECT_NEAR(delegate->times[0] - opened, 3.0, 0.01);
  EXPECT_EQ(delegate->errors[0].localizedDescription,
            "连接超时，一般是未能发现蓝牙服务和特征，导致连接超时，请重启打印机");
  // The open link is left open.
  EXPECT_TRUE(printer->isConnected());
  EXPECT_TRUE(calls("cancelPeripheralConnection").empty());
  EXPECT_FALSE(facade().isConnected());
}

TEST_F(LifecycleTest, LateServicesCompleteTheConnectionAfterTheTimeOutReport) {
  auto printer = addPrinter();
  printer->faults().serviceDiscoveryDelay = 3.5;
  auto record = scanFor(printer);
  facade().connectPrinter(record);
  loop().runFor(10.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"fail 0", "success"}));
  EXPECT_TRUE(facade().isConnected());
}

TEST_F(LifecycleTest, ConnectAgainToALinkLeftOpenRestartsDiscovery) {
  auto printer = addPrinter();
  printer->faults().servicesNeverReported = true;
  auto record = scanFor(printer);
  facade().connectPrinter(record);
  loop().runFor(4.0);
  ASSERT_EQ(delegate->events, (std::vector<std::string>{"fail 0"}));
  printer->faults().servicesNeverReported = false;
  central->clearCalls();
  facade().connectPrinter(record);
  loop().runFor(5.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"fail 0", "success"}));
  EXPECT_TRUE(calls("connect").empty()); // the open link was reused
  EXPECT_EQ(calls("discoverServices").size(), 1u);
}

TEST_F(LifecycleTest, SwitchingToAnotherPrinterDropsTheOldLinkSilently) {
  auto first = addPrinter();
  ZVVirtualPrinterConfig config;
  config.name = config.modelName = "ZV-P2";
  config.advertisedName = "ZV-P2";
  config.manufacturerData = {0x5A, 0x56, 1, 2, 3, 4, 5, 6};
  auto second = addPrinter(config);
  auto firstRecord = connect(first);
  ASSERT_TRUE(firstRecord);
  auto secondRecord = scanFor(second);
  ASSERT_TRUE(secondRecord);
  facade().connectPrinter(secondRecord);
  EXPECT_EQ(facade().deviceConnected(), firstRecord); // kept until the new one is usable
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"success", "success"}));
  EXPECT_EQ(facade().deviceConnected(), secondRecord);
  EXPECT_FALSE(first->isConnected());
  EXPECT_TRUE(second->isConnected());
}

TEST_F(LifecycleTest, PowerOffWhileConnectedReportsButLeavesIsConnectedSet) {
  auto printer = addPrinter();
  auto record = connect(printer);
  ASSERT_TRUE(record);
  facade().connectDeviceWithIdentifier(*record->identifier); // stored; nothing to do now
  central->setPoweredOn(false);
  loop().runFor(0.5);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"success", "disconnect 0"}));
  EXPECT_TRUE(facade().isConnected());
  EXPECT_EQ(facade().deviceConnected(), nullptr);
  EXPECT_FALSE(link().isConnected());

  // At power-on the stored identifier is not retried: the facade still
  // says connected. A new connectPrinter() connects and sets the flags.
  central->clearCalls();
  central->setPoweredOn(true);
  loop().runFor(1.0);
  EXPECT_TRUE(calls("connect").empty());
  facade().connectPrinter(record);
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events.back(), "success");
  EXPECT_EQ(facade().deviceConnected(), record);
}

TEST_F(LifecycleTest, ReconnectionByIdentifier) {
  auto printer = addPrinter();
  facade().connectDeviceWithIdentifier("not-a-uuid");
  facade().connectDeviceWithIdentifier("00000000-0000-4000-8000-000000000000"); // unknown
  loop().runFor(5.0);
  EXPECT_TRUE(delegate->events.empty());
  EXPECT_TRUE(calls("connect").empty());

  facade().connectDeviceWithIdentifier(printer->identifier());
  loop().runFor(1.0);
  ASSERT_EQ(delegate->events, (std::vector<std::string>{"success"}));
  const auto record = facade().deviceConnected();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->identifier, printer->identifier());
  EXPECT_EQ(record->name, "ZV-P1");
  EXPECT_FALSE(record->mac);
  EXPECT_EQ(manager().printer(), record);

  // Lost, then Bluetooth off and on: the stored identifier reconnects.
  central->removePrinter(printer);
  loop().runFor(0.5);
  central->addPrinter(printer);
  central->setPoweredOn(false);
  loop().runFor(0.1);
  central->setPoweredOn(true);
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"success", "disconnect 0", "success"}));
}

TEST_F(LifecycleTest, ReconnectionTimeOutReportsButLeavesTheRequestPending) {
  auto printer = addPrinter();
  central->removePrinter(printer); // known, out of range
  facade().connectDeviceWithIdentifier(printer->identifier());
  loop().runFor(5.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"fail 4"}));
  EXPECT_TRUE(calls("cancelPeripheralConnection").empty());
  // The platform's request is still pending: the printer coming back in
  // range completes it, although a failure was reported.
  central->addPrinter(printer);
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"fail 4", "success"}));
}

TEST_F(LifecycleTest, ConnectToAPeripheralAlreadyConnectingSendsNoSecondRequest) {
  auto printer = addPrinter();
  auto record = scanFor(printer);
  central->removePrinter(printer); // known, out of range
  facade().connectDeviceWithIdentifier(printer->identifier());
  loop().runFor(1.0);
  ASSERT_EQ(record->peripheral->state(), ZVBlePeripheralStateConnecting);
  const double asked = loop().now();
  facade().connectPrinter(record);
  loop().runFor(1.0);
  central->addPrinter(printer);
  loop().runFor(1.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"success"}));
  EXPECT_EQ(calls("connect"), (std::vector<std::string>{"connect " + printer->identifier()}));
  EXPECT_EQ(facade().deviceConnected(), record);

  // Out of range for good: the 4.0 s of the second attempt decide.
  facade().disconnect();
  loop().runFor(0.5);
  central->removePrinter(printer);
  facade().connectDeviceWithIdentifier(printer->identifier());
  loop().runFor(0.5);
  delegate->clear();
  const double second = loop().now();
  facade().connectPrinter(record);
  loop().runFor(10.0);
  EXPECT_EQ(delegate->events, (std::vector<std::string>{"fail 4"}));
  EXPECT_DOUBLE_EQ(delegate->times[0] - second, 4.0);
  EXPECT_GT(second, asked);
}

} // namespace
} // namespace zvtest
