// The central against python3-dbusmock's bluez5 template: a mock of BlueZ
// written by others, so these tests check our reading of BlueZ's conventions.

#include "bluez/bluez_recorder.h"
#include "bluez/private_bus.h"

#include <zvprinter/ZVBluezCentral.h>
#include <zvprinter/ZVRunLoop.h>

#include <gtest/gtest.h>

namespace {

using zv::test::BluezMock;
using zv::test::BluezRecorder;
using zv::test::PrivateBus;

constexpr double kTimeout = 10.0;
constexpr const char *kDevicePath = "/org/bluez/hci0/dev_00_AA_01_01_00_01";
constexpr const char *kAddress = "00:AA:01:01:00:01";

class BluezMockTest : public ::testing::Test {
protected:
  void SetUp() override {
    if (bus_.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed";
    mock_ = std::make_unique<BluezMock>(bus_);
    if (!mock_->ready()) GTEST_SKIP() << "python3-dbusmock is not installed";
  }

  std::shared_ptr<ZVBluezCentral> central(std::string adapter = "") {
    auto made = ZVBluezCentral::make({std::move(adapter), bus_.address()}, loop_);
    made->setDelegate(recorder_);
    return made;
  }
  bool until(const std::function<bool()> &predicate) { return loop_.runUntil(predicate, kTimeout); }
  void setPowered(const std::string &adapter, bool on) {
    mock_->update("/org/bluez/" + adapter, "org.bluez.Adapter1", {{"Powered", sdbus::Variant(on)}});
  }
  std::shared_ptr<ZVBlePeripheral> connected(ZVBluezCentral &c) {
    auto peripherals = c.retrievePeripherals({kAddress});
    EXPECT_EQ(peripherals.size(), 1u);
    if (peripherals.empty()) return nullptr;
    c.connect(peripherals[0]);
    EXPECT_TRUE(until([&] { return recorder_->connects == 1; }));
    return peripherals[0];
  }

  PrivateBus bus_;
  std::unique_ptr<BluezMock> mock_;
  ZVRunLoop loop_;
  std::shared_ptr<BluezRecorder> recorder_ = std::make_shared<BluezRecorder>();
};

TEST_F(BluezMockTest, StateFollowsTheAdapterPowerAndEveryChangeIsReported) {
  mock_->mock("AddAdapter", {"hci0", "zv-test"});
  auto c = central();
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  EXPECT_EQ(c->adapterName(), "hci0");
  EXPECT_EQ(c->unavailableReason(), "");
  setPowered("hci0", false);
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOff; }));
  EXPECT_NE(c->unavailableReason().find("bluetoothctl power on"), std::string::npos);
  setPowered("hci0", true);
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  EXPECT_EQ(recorder_->states, (std::vector<int64_t>{5, 4, 5}));
}

TEST_F(BluezMockTest, AdapterChoiceAndMissingAdapters) {
  mock_->mock("AddAdapter", {"hci0", "first"});
  mock_->mock("AddAdapter", {"hci1", "second"});
  setPowered("hci0", false);
  struct Case {
    std::string asked;
    int64_t state;
    std::string adapter;
    ZVBluezProbe::Status probe;
  };
  const Case cases[] = {
      {"", ZVBleCentralStatePoweredOn, "hci1", ZVBluezProbe::Status::Ready}, // first powered
      {"hci0", ZVBleCentralStatePoweredOff, "hci0", ZVBluezProbe::Status::AdapterOff},
      {"hci7", ZVBleCentralStateUnsupported, "", ZVBluezProbe::Status::NoAdapter},
  };
  for (const auto &test : cases) {
    SCOPED_TRACE(test.asked);
    auto c = central(test.asked);
    ASSERT_TRUE(until([&] { return c->state() != ZVBleCentralStateUnknown; }));
    EXPECT_EQ(c->state(), test.state);
    EXPECT_EQ(c->adapterName(), test.adapter);
    const auto probe = ZVBluezCentral::probe({test.asked, bus_.address()});
    EXPECT_EQ(probe.status, test.probe);
    EXPECT_EQ(probe.message.empty(), test.probe == ZVBluezProbe::Status::Ready);
  }
}

TEST(BluezBusTest, WithoutBluezTheCentralIsUnsupportedAndSaysWhatToDo) {
  PrivateBus bus;
  if (bus.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed";
  ZVRunLoop loop;
  auto c = ZVBluezCentral::make({"", bus.address()}, loop);
  auto recorder = std::make_shared<BluezRecorder>();
  c->setDelegate(recorder);
  ASSERT_TRUE(loop.runUntil([&] { return !recorder->states.empty(); }, kTimeout));
  EXPECT_EQ(recorder->states, std::vector<int64_t>{ZVBleCentralStateUnsupported});
  EXPECT_NE(c->unavailableReason().find("systemctl start bluetooth"), std::string::npos);
  EXPECT_EQ(ZVBluezCentral::probe({"", bus.address()}).status, ZVBluezProbe::Status::NoBluez);

  auto unreachable = ZVBluezCentral::probe({"", "unix:path=/nonexistent/zv-bus"});
  EXPECT_EQ(unreachable.status, ZVBluezProbe::Status::NoBus);
  EXPECT_NE(unreachable.message.find("D-Bus"), std::string::npos);
}

TEST_F(BluezMockTest, DiscoveryReportsKnownAndNewDevicesWithManufacturerDataCompanyFirst) {
  mock_->mock("AddAdapter", {"hci0", "zv-test"});
  mock_->mock("AddDevice", {"hci0", kAddress, "ZV-P1"});
  auto c = central();
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  c->scanForPeripherals(std::nullopt, false);
  EXPECT_TRUE(c->isScanning());
  ASSERT_TRUE(until([&] { return recorder_->discoveries.size() == 1; }));
  const auto known = recorder_->discoveries[0];
  EXPECT_EQ(known.peripheral->identifier(), kAddress);
  EXPECT_EQ(known.advertisement.localName, "ZV-P1");
  EXPECT_EQ(known.advertisement.isConnectable, 1);
  EXPECT_EQ(known.advertisement.manufacturerData, std::nullopt);
  EXPECT_EQ(known.rssi, -79);

  mock_->emitChanged(
      kDevicePath, "org.bluez.Device1",
      {{"ManufacturerData",
        sdbus::Variant(std::map<uint16_t, sdbus::Variant>{
            {0x0D9A, sdbus::Variant(std::vector<uint8_t>{0x00, 0xAA, 0x01, 0x01})}})},
       {"RSSI", sdbus::Variant(int16_t{-50})}});
  ASSERT_TRUE(until([&] { return recorder_->discoveries.size() == 2; }));
  const auto &updated = recorder_->discoveries[1];
  EXPECT_EQ(updated.peripheral, known.peripheral); // the same object for the same printer
  EXPECT_EQ(updated.advertisement.manufacturerData, (ZVData{0x9A, 0x0D, 0x00, 0xAA, 0x01, 0x01}));
  EXPECT_EQ(updated.rssi, -50);

  mock_->mock("AddDevice", {"hci0", "11:22:33:44:55:66", "Other"});
  ASSERT_TRUE(until([&] { return recorder_->discoveries.size() == 3; }));
  EXPECT_EQ(recorder_->discoveries[2].advertisement.localName, "Other");

  c->stopScan();
  mock_->update(kDevicePath, "org.bluez.Device1", {{"RSSI", sdbus::Variant(int16_t{-40})}});
  loop_.runFor(0.3);
  EXPECT_EQ(recorder_->discoveries.size(), 3u);
}

TEST_F(BluezMockTest, IdentifiersAreDeviceAddresses) {
  mock_->mock("AddAdapter", {"hci0", "zv-test"});
  mock_->mock("AddDevice", {"hci0", kAddress, "ZV-P1"});
  auto c = central();
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  for (const auto &[text, valid] : std::vector<std::pair<std::string, bool>>{
           {kAddress, true},
           {"00:aa:01:01:00:01", true},
           {"00:AA:01:01:00", false},
           {"00-AA-01-01-00-01", false},
           {"00:AA:01:01:00:0G", false},
           {"E621E1F8-C36C-495A-93FC-0C247A3E6E5F", false},
       }) {
    EXPECT_EQ(c->isValidIdentifier(text), valid) << text;
  }
  const auto found = c->retrievePeripherals({"00:aa:01:01:00:01", "11:22:33:44:55:66", "bad"});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0]->identifier(), kAddress);
  EXPECT_EQ(found[0]->name(), "ZV-P1");
  EXPECT_EQ(c->retrievePeripherals({kAddress})[0], found[0]);
}

TEST_F(BluezMockTest, ConnectThenOrderlyDisconnectHasNoErrorButADropHasOne) {
  mock_->mock("AddAdapter", {"hci0", "zv-test"});
  mock_->mock("AddDevice", {"hci0", kAddress, "ZV-P1"});
  auto c = central();
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  auto p = connected(*c);
  ASSERT_TRUE(p);
  EXPECT_EQ(p->state(), ZVBlePeripheralStateConnected);
  c->cancelPeripheralConnection(p);
  ASSERT_TRUE(until([&] { return recorder_->disconnects.size() == 1; }));
  EXPECT_EQ(recorder_->disconnects[0], std::nullopt);
  EXPECT_EQ(p->state(), ZVBlePeripheralStateDisconnected);

  c->connect(p);
  ASSERT_TRUE(until([&] { return recorder_->connects == 2; }));
  mock_->update(kDevicePath, "org.bluez.Device1", {{"Connected", sdbus::Variant(false)}});
  ASSERT_TRUE(until([&] { return recorder_->disconnects.size() == 2; }));
  ASSERT_TRUE(recorder_->disconnects[1].has_value());
  EXPECT_EQ(recorder_->disconnects[1]->domain, ZVBluezErrorDomain);
  EXPECT_EQ(recorder_->disconnects[1]->code, ZVBluezErrorLinkLost);
}

TEST_F(BluezMockTest, RefusedConnectCarriesTheBluezErrorName) {
  mock_->mock("AddAdapter", {"hci0", "zv-test"});
  mock_->mock("AddDevice", {"hci0", kAddress, "ZV-P1"});
  mock_->replaceMethod(kDevicePath, "org.bluez.Device1", "Connect",
                       "raise dbus.exceptions.DBusException('le-connection-abort-by-local', "
                       "name='org.bluez.Error.Failed')");
  auto c = central();
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  auto p = c->retrievePeripherals({kAddress}).at(0);
  c->connect(p);
  ASSERT_TRUE(until([&] { return recorder_->connectFailures.size() == 1; }));
  const auto &error = recorder_->connectFailures[0];
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, ZVBluezErrorDomain);
  EXPECT_EQ(error->localizedDescription, "org.bluez.Error.Failed: le-connection-abort-by-local");
  EXPECT_EQ(p->state(), ZVBlePeripheralStateDisconnected);
}

TEST_F(BluezMockTest, PoweringOffEndsLinksWithoutReports) {
  mock_->mock("AddAdapter", {"hci0", "zv-test"});
  mock_->mock("AddDevice", {"hci0", kAddress, "ZV-P1"});
  auto c = central();
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOn; }));
  auto p = connected(*c);
  ASSERT_TRUE(p);
  c->scanForPeripherals(std::nullopt, false);
  setPowered("hci0", false);
  ASSERT_TRUE(until([&] { return c->state() == ZVBleCentralStatePoweredOff; }));
  EXPECT_EQ(p->state(), ZVBlePeripheralStateDisconnected);
  EXPECT_FALSE(c->isScanning());
  mock_->update(kDevicePath, "org.bluez.Device1", {{"Connected", sdbus::Variant(false)}});
  loop_.runFor(0.2);
  EXPECT_TRUE(recorder_->disconnects.empty());
}

} // namespace
