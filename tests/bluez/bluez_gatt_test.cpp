// The BlueZ backend against our fake org.bluez (a ZVVirtualPrinter behind
// BlueZ's GATT objects) on a private bus: GATT reads, notifications, writes
// by WriteValue and by AcquireWrite socket, prints, and the failures.

#include "bluez/bluez_recorder.h"
#include "bluez/fake_bluez.h"
#include "bluez/private_bus.h"

#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVBluezCentral.h>
#include <zvprinter/ZVRunLoop.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using zv::test::BluezRecorder;
using zv::test::FakeBluez;
using zv::test::FakeBluezConfig;
using zv::test::PrivateBus;

constexpr double kTimeout = 10.0;
constexpr const char *kAddress = "00:AA:01:01:00:01";
const std::string kIsscWrite = "49535343-8841-43F4-A8D4-ECBE34729BB3";
const std::string kIsscRead = "49535343-1E4D-4BD9-BA61-23C647249616";

ZVData bytes(std::string_view text) {
  return ZVData(text.begin(), text.end());
}

class BluezGattTest : public ::testing::Test {
protected:
  void start(FakeBluezConfig config = {}, ZVBluezWriteOrder order = ZVBluezWriteOrder::Auto) {
    if (bus_.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed";
    fake_ = std::make_unique<FakeBluez>(bus_.address(), config);
    ASSERT_TRUE(fake_->ready());
    // The machine's own bluetoothd settings must not decide the write path.
    central_ = ZVBluezCentral::make({.adapter = "",
                                     .busAddress = bus_.address(),
                                     .writeOrder = order,
                                     .bluetoothdConfig = "/nonexistent/main.conf"},
                                    loop_);
    central_->setDelegate(recorder_);
    ASSERT_TRUE(until([&] { return central_->state() == ZVBleCentralStatePoweredOn; }));
  }
  bool until(const std::function<bool()> &predicate) { return loop_.runUntil(predicate, kTimeout); }

  /// Connects and discovers every service and characteristic.
  void open() {
    peripheral_ = central_->retrievePeripherals({kAddress}).at(0);
    peripheral_->setDelegate(recorder_);
    central_->connect(peripheral_);
    ASSERT_TRUE(until([&] { return recorder_->connects == 1; }));
    peripheral_->discoverServices(std::nullopt);
    ASSERT_TRUE(until([&] { return recorder_->servicesDiscovered == 1; }));
    for (const auto &service : peripheral_->services()) {
      peripheral_->discoverCharacteristics(std::nullopt, service);
    }
    const int expected = static_cast<int>(peripheral_->services().size());
    ASSERT_TRUE(until([&] { return recorder_->characteristicsDiscovered == expected; }));
  }
  std::shared_ptr<ZVBleCharacteristic> characteristic(const std::string &uuid) {
    for (const auto &service : peripheral_->services()) {
      if (auto c = service->characteristic(uuid)) return c;
    }
    return nullptr;
  }
  bool received(const std::string &uuid, const ZVData &value) {
    return std::any_of(recorder_->values.begin(), recorder_->values.end(),
                       [&](const auto &v) { return v.first == uuid && v.second == value; });
  }
  bool receivedPrefix(const std::string &uuid, std::string_view prefix) {
    return std::any_of(recorder_->values.begin(), recorder_->values.end(), [&](const auto &v) {
      return v.first == uuid && v.second.size() >= prefix.size() &&
             std::equal(prefix.begin(), prefix.end(), v.second.begin());
    });
  }

  PrivateBus bus_;
  std::unique_ptr<FakeBluez> fake_;
  ZVRunLoop loop_;
  std::shared_ptr<ZVBluezCentral> central_;
  std::shared_ptr<ZVBlePeripheral> peripheral_;
  std::shared_ptr<BluezRecorder> recorder_ = std::make_shared<BluezRecorder>();
};

TEST_F(BluezGattTest, ScanSetsAnLeFilterAndReportsThePrinter) {
  start();
  central_->scanForPeripherals(std::nullopt, false);
  ASSERT_TRUE(until([&] { return !recorder_->discoveries.empty(); }));
  const auto &found = recorder_->discoveries[0];
  EXPECT_EQ(found.peripheral->identifier(), kAddress);
  EXPECT_EQ(found.advertisement.localName, "ZV-P1");
  EXPECT_EQ(found.advertisement.manufacturerData,
            (ZVData{0x9A, 0x0D, 0x00, 0xAA, 0x01, 0x01, 0x00, 0x01}));
  EXPECT_EQ(found.rssi, -60);
  ASSERT_TRUE(until([&] { return fake_->discoveryTransport() == "le"; }));
}

TEST_F(BluezGattTest, IvtModuleReadsNotifiesAndWritesThroughTheAcquiredSocket) {
  start();
  open();
  std::vector<std::string> services;
  for (const auto &s : peripheral_->services())
    services.push_back(s->uuid());
  EXPECT_EQ(services, (std::vector<std::string>{"FF00", "180A"}));
  ASSERT_TRUE(characteristic("FF02"));
  EXPECT_EQ(
      characteristic("FF02")->properties(),
      uint64_t{ZVBleCharacteristicPropertyWrite | ZVBleCharacteristicPropertyWriteWithoutResponse});
  EXPECT_EQ(characteristic("FF01")->properties(), uint64_t{ZVBleCharacteristicPropertyNotify});

  peripheral_->readValue(characteristic("2A24"));
  ASSERT_TRUE(until([&] { return received("2A24", bytes("ZV-P1")); }));

  peripheral_->setNotifyValue(true, characteristic("FF01"));
  peripheral_->setNotifyValue(true, characteristic("FF03"));
  ASSERT_TRUE(until([&] { return recorder_->notifyStates.size() == 2; }));
  EXPECT_EQ(recorder_->notifyStates[0], std::nullopt);
  EXPECT_TRUE(characteristic("FF03")->isNotifying());
  ASSERT_TRUE(until([&] { return received("FF03", {0x01, 0x0A}); }));
  EXPECT_TRUE(received("FF03", {0x02, 0xF4, 0x00})); // chunk size 244 first

  peripheral_->writeValue({0x1B, 0x21, 0x3F, 0x0D, 0x0A}, characteristic("FF02"),
                          ZVBleWriteWithoutResponse);
  ASSERT_TRUE(until([&] { return receivedPrefix("FF01", "tarvo_sta="); }));
  EXPECT_EQ(fake_->socketWrites(), 1u);
  EXPECT_EQ(fake_->busWrites(), 0u);
}

struct PrintCase {
  const char *name;
  ZVVirtualPrinterProfile profile;
  bool acquireWrite;
  int64_t writeType;
  unsigned bearers = 1;
  std::optional<uint8_t> serverFeatures = std::nullopt;
  ZVBluezWriteOrder order = ZVBluezWriteOrder::Auto;
  bool requests = false;   // every data write goes as a write request
  bool paperIntact = true; // false: the chunks are expected to overtake each other
};

class BluezPrintTest : public BluezGattTest, public ::testing::WithParamInterface<PrintCase> {};

TEST_P(BluezPrintTest, APrintOverDBusLeavesTheSamePaperAsTheBytesFedDirectly) {
  const auto &test = GetParam();
  FakeBluezConfig config;
  config.profile = test.profile;
  config.acquireWrite = test.acquireWrite;
  config.bearers = test.bearers;
  config.serverFeatures = test.serverFeatures;
  start(config, test.order);
  open();
  const bool ivt = test.profile == ZVVirtualPrinterProfile::IVT;
  auto in = characteristic(ivt ? "FF02" : kIsscWrite);
  auto out = characteristic(ivt ? "FF01" : kIsscRead);
  ASSERT_TRUE(in && out);
  peripheral_->setNotifyValue(true, out);
  ASSERT_TRUE(until([&] { return recorder_->notifyStates.size() == 1; }));

  // A gradient with a diagonal bar, dithered and LZO-framed as a photo is.
  const uint32_t width = 384, height = 96;
  ZVData rgba(width * height * 4, 255);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const auto gray = static_cast<uint8_t>((x * 255) / width);
      const bool bar = (x + y) % 97 < 12;
      for (int c = 0; c < 3; ++c)
        rgba[(y * width + x) * 4 + c] = bar ? 0 : gray;
    }
  }
  const auto image = ZVImage::fromRGBA(width, height, rgba);
  ASSERT_TRUE(image);
  const auto data = ZVBitmapManager::generateGenralDataWithImage(*image, false, 1, 48, true);
  ASSERT_TRUE(data && !data->empty());

  const size_t chunk = 180;
  size_t chunks = 0;
  for (size_t at = 0; at < data->size(); at += chunk, ++chunks) {
    const auto end =
        data->begin() + static_cast<std::ptrdiff_t>(std::min(data->size(), at + chunk));
    peripheral_->writeValue(ZVData(data->begin() + static_cast<std::ptrdiff_t>(at), end), in,
                            test.writeType);
  }
  const bool finished = until([&] { return receivedPrefix(out->uuid(), "dithering_finis"); });
  if (test.paperIntact) {
    ASSERT_TRUE(finished);
  }
  if (test.writeType == ZVBleWriteWithResponse) {
    ASSERT_TRUE(until([&] { return recorder_->writes.size() == chunks; }));
    EXPECT_TRUE(std::all_of(recorder_->writes.begin(), recorder_->writes.end(),
                            [](const auto &e) { return !e.has_value(); }));
  }
  EXPECT_EQ(fake_->socketWrites() + fake_->busWrites(), chunks);
  EXPECT_EQ(fake_->socketWrites() > 0, test.acquireWrite && ivt && !test.requests);
  if (test.requests) {
    EXPECT_EQ(fake_->requestWrites(), chunks);
  }
  fake_->stop();

  ZVVirtualPrinter reference(ZVVirtualPrinterConfig{});
  reference.receive(*data);
  reference.endOfInput();
  EXPECT_GT(reference.statistics().rowsPrinted, 0u);
  const bool same =
      fake_->printer().statistics().printFrames == reference.statistics().printFrames &&
      fake_->printer().paperRows() == reference.paperRows();
  EXPECT_EQ(same, test.paperIntact);
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, BluezPrintTest,
    ::testing::Values(
        PrintCase{"IvtSocket", ZVVirtualPrinterProfile::IVT, true, ZVBleWriteWithoutResponse},
        PrintCase{"IvtWriteCommand", ZVVirtualPrinterProfile::IVT, false,
                  ZVBleWriteWithoutResponse},
        PrintCase{"IsscWriteRequest", ZVVirtualPrinterProfile::ISSC, true, ZVBleWriteWithResponse},
        // Several bearers: the printer announces Enhanced ATT, so the data
        // goes as a chain of requests and arrives whole.
        PrintCase{"IvtEnhancedAtt", ZVVirtualPrinterProfile::IVT, true, ZVBleWriteWithoutResponse,
                  2, 0x01, ZVBluezWriteOrder::Auto, true},
        PrintCase{"IvtEnhancedAttCommands", ZVVirtualPrinterProfile::IVT, false,
                  ZVBleWriteWithoutResponse, 2, 0x01, ZVBluezWriteOrder::Auto, true},
        // A printer that says it has no Enhanced ATT keeps the socket.
        PrintCase{"IvtSingleBearerAnnounced", ZVVirtualPrinterProfile::IVT, true,
                  ZVBleWriteWithoutResponse, 1, 0x00, ZVBluezWriteOrder::Auto, false},
        // What the ordered path prevents: the socket over two bearers garbles.
        PrintCase{"IvtEnhancedAttForcedFastPath", ZVVirtualPrinterProfile::IVT, true,
                  ZVBleWriteWithoutResponse, 2, 0x01, ZVBluezWriteOrder::FastPath, false, false}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(BluezGattTest, ADroppedLinkIsReportedWithAnErrorAndLaterRequestsAreIgnored) {
  start();
  open();
  fake_->dropLink();
  ASSERT_TRUE(until([&] { return recorder_->disconnects.size() == 1; }));
  ASSERT_TRUE(recorder_->disconnects[0].has_value());
  EXPECT_EQ(recorder_->disconnects[0]->code, ZVBluezErrorLinkLost);
  EXPECT_EQ(peripheral_->state(), ZVBlePeripheralStateDisconnected);
  peripheral_->writeValue({0x01}, characteristic("FF02"), ZVBleWriteWithoutResponse);
  peripheral_->readValue(characteristic("2A24"));
  loop_.runFor(0.2);
  EXPECT_TRUE(recorder_->values.empty());
  EXPECT_EQ(fake_->socketWrites(), 0u);
}

TEST_F(BluezGattTest, ARefusedWriteWithResponseCarriesTheBluezError) {
  FakeBluezConfig config;
  config.profile = ZVVirtualPrinterProfile::ISSC;
  start(config);
  open();
  fake_->refuseWrites(true);
  peripheral_->writeValue({0x1B, 0x40}, characteristic(kIsscWrite), ZVBleWriteWithResponse);
  ASSERT_TRUE(until([&] { return recorder_->writes.size() == 1; }));
  ASSERT_TRUE(recorder_->writes[0].has_value());
  EXPECT_EQ(recorder_->writes[0]->domain, ZVBluezErrorDomain);
  EXPECT_EQ(recorder_->writes[0]->localizedDescription.rfind("org.bluez.Error.Failed: ", 0), 0u);
  EXPECT_TRUE(recorder_->disconnects.empty());
}

TEST_F(BluezGattTest, UnacknowledgedWritesThatCannotGoOutEndTheLinkLoudly) {
  struct Case {
    const char *name;
    bool acquireWrite;
    uint16_t mtu;
    size_t length;
    int64_t code;
  };
  for (const auto &test :
       {Case{"refused WriteValue command", false, 517, 4, ZVBluezErrorDBus},
        Case{"longer than the ATT payload", true, 23, 21, ZVBluezErrorValueTooLong}}) {
    SCOPED_TRACE(test.name);
    FakeBluezConfig config;
    config.acquireWrite = test.acquireWrite;
    config.mtu = test.mtu;
    fake_.reset();
    recorder_ = std::make_shared<BluezRecorder>();
    start(config);
    open();
    fake_->refuseWrites(true);
    peripheral_->writeValue(ZVData(test.length, 0x20), characteristic("FF02"),
                            ZVBleWriteWithoutResponse);
    ASSERT_TRUE(until([&] { return recorder_->disconnects.size() == 1; }));
    ASSERT_TRUE(recorder_->disconnects[0].has_value());
    EXPECT_EQ(recorder_->disconnects[0]->code, test.code);
    EXPECT_EQ(fake_->socketWrites(), 0u);
  }
}

} // namespace
