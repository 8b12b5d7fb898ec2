#include "connection/connection_support.h"

#include <cmath>
#include <cstring>

namespace zvtest {
namespace {

using DiscoveryTest = ConnectionTest;

TEST_F(DiscoveryTest, AcceptsOnlyConnectableNamedAdvertisements) {
  struct Case {
    const char *label;
    std::string name;
    std::optional<std::string> advertisedName;
    bool connectable;
    bool flagPresent;
    std::optional<std::string> expected; // display name, or not listed
  };
  const std::vector<Case> cases = {
      {"named and connectable", "P-A", "Ad-A", true, true, "Ad-A"},
      {"empty local name uses the peripheral's", "P-B", "", true, true, "P-B"},
      {"no local name uses the peripheral's", "P-C", std::nullopt, true, true, "P-C"},
      {"not connectable", "P-D", "Ad-D", false, true, std::nullopt},
      {"connectable flag missing", "P-E", "Ad-E", true, false, std::nullopt},
      {"peripheral without a name", "", "Ad-F", true, true, std::nullopt},
  };
  std::vector<std::shared_ptr<ZVVirtualPrinter>> printers;
  for (const auto &c : cases) {
    ZVVirtualPrinterConfig config;
    config.name = c.name;
    config.advertisedName = c.advertisedName;
    config.connectable = c.connectable;
    config.advertiseConnectableFlag = c.flagPresent;
    config.identifier = "00000000-0000-4000-8000-00000000000" + std::to_string(printers.size());
    printers.push_back(addPrinter(config));
  }
  facade().scanBluetooth();
  loop().runFor(0.5);
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].label);
    const auto &devices = manager().devices();
    const auto it = std::find_if(devices.begin(), devices.end(), [&](const auto &record) {
      return record->identifier == printers[i]->identifier();
    });
    if (!cases[i].expected) {
      EXPECT_EQ(it, devices.end());
      continue;
    }
    ASSERT_NE(it, devices.end());
    EXPECT_EQ((*it)->name, cases[i].expected);
    EXPECT_EQ((*it)->mode, ZVPrinterModeBLE);
    EXPECT_EQ((*it)->mac, "DC:0D:30:1A:2B:3C");
  }
  // One report per accepted advertisement, each with the whole list.
  EXPECT_EQ(delegate->discoveries,
            (std::vector<std::string>{"discover 3", "discover 3", "discover 3"}));
}

TEST_F(DiscoveryTest, ThePrinterSeenAgainIsUpdatedInPlace) {
  ZVVirtualPrinterConfig otherConfig;
  otherConfig.name = "Other";
  otherConfig.advertisedName = "Other";
  addPrinter(otherConfig);
  auto printer = addPrinter();
  auto record = scanFor(printer);
  ASSERT_TRUE(record);
  loop().runFor(0.1);
  const auto before = manager().devices();
  ASSERT_EQ(before.size(), 2u);

  printer->setAdvertisedName("Renamed");
  printer->setRSSI(-85);
  central->advertiseAgain(printer);
  loop().runFor(0.1);

  EXPECT_EQ(manager().devices(), before); // same records, same order
  EXPECT_EQ(record->name, "Renamed");
  EXPECT_EQ(record->distance, 10.0f);
  // Both first advertisements were taken in before their posted reports ran:
  // each report reads the live list as it is then.
  EXPECT_EQ(delegate->discoveries,
            (std::vector<std::string>{"discover 2", "discover 2", "discover 2"}));
  // The delegate was handed the manager's own list, not a copy.
  EXPECT_EQ(delegate->lastList, &manager().devices());
}

TEST_F(DiscoveryTest, MacAddressFromTheLastSixManufacturerBytes) {
  struct Case {
    std::optional<ZVData> data;
    const char *mac;
  };
  const std::vector<Case> cases = {
      {ZVData{0xDC, 0x0D, 0x30, 0x1A, 0x2B, 0x3C}, "DC:0D:30:1A:2B:3C"},
      {ZVData{0x5A, 0x56, 0xDC, 0x0D, 0x30, 0x1A, 0x2B, 0xFF}, "DC:0D:30:1A:2B:FF"},
      {ZVData{1, 2, 3, 4, 5}, "Unknown"},
      {ZVData{}, "Unknown"},
      {std::nullopt, "Unknown"},
  };
  for (const auto &c : cases) {
    ZVBleAdvertisement advertisement;
    advertisement.manufacturerData = c.data;
    EXPECT_EQ(manager().getMacWithAdvertisementData(advertisement), c.mac);
  }
  const uint8_t bytes[] = {0xDC, 0x0D, 0xA0};
  EXPECT_EQ(manager().stringFromBytes(bytes, 3), "dc:0d:a0");
  EXPECT_EQ(manager().stringFromBytes(bytes, 0), "");
  EXPECT_EQ(manager().stringFromBytes(nullptr, 4), "");
}

TEST_F(DiscoveryTest, DistanceIsComputedInTheStatedPrecision) {
  // The exponent is rounded to float before the power: the result differs
  // from a straight double computation in the last bits for most inputs.
  const auto reference = [](int32_t rssi) {
    const float e = static_cast<float>(static_cast<double>(std::abs(rssi) - 65) / 20.0);
    return static_cast<float>(std::pow(10.0, static_cast<double>(e)));
  };
  EXPECT_EQ(manager().distanceWithRSSI(-65), 1.0f);
  EXPECT_EQ(manager().distanceWithRSSI(-85), 10.0f);
  EXPECT_EQ(manager().distanceWithRSSI(-45), 0.1f);
  EXPECT_NEAR(manager().distanceWithRSSI(-71), 1.995f, 0.001f);
  EXPECT_EQ(manager().distanceWithRSSI(127), manager().distanceWithRSSI(-127));
  EXPECT_NEAR(manager().distanceWithRSSI(127), 1258.9f, 0.1f);
  for (int32_t rssi = -127; rssi <= 20; ++rssi) {
    const float got = manager().distanceWithRSSI(rssi);
    const float want = reference(rssi);
    ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0) << rssi;
  }
}

class DiscoveryWhileOffTest : public ConnectionTest {
protected:
  DiscoveryWhileOffTest() { poweredOnAtStart = false; }
};

TEST_F(DiscoveryWhileOffTest, ScanWantedWhileOffStartsAtPowerOnWithAnEmptiedList) {
  addPrinter();
  facade().scanBluetooth();
  loop().runFor(0.5);
  EXPECT_TRUE(manager().isScaning());
  EXPECT_TRUE(manager().devices().empty());
  EXPECT_TRUE(calls("scanForPeripherals").empty()); // nothing asked of an adapter that is off
  EXPECT_TRUE(delegate->discoveries.empty());

  central->setPoweredOn(true);
  loop().runFor(0.5);
  EXPECT_EQ(calls("scanForPeripherals").size(), 1u);
  EXPECT_EQ(manager().devices().size(), 1u);
  EXPECT_EQ(delegate->discoveries, (std::vector<std::string>{"discover 1"}));

  // Off empties the list; a stopped scan hears nothing more.
  central->setPoweredOn(false);
  loop().runFor(0.1);
  EXPECT_TRUE(manager().devices().empty());
  facade().stopScanBluetooth();
  central->setPoweredOn(true);
  loop().runFor(0.5);
  EXPECT_TRUE(manager().devices().empty());
  EXPECT_EQ(calls("scanForPeripherals").size(), 1u);
}

TEST_F(DiscoveryWhileOffTest, BluetoothStatusFollowsTheAdapterState) {
  EXPECT_EQ(facade().getBluetoothStatus(), ZVBluetoothStatusPoweredOff);
  const std::vector<std::pair<int64_t, int64_t>> cases = {
      {0, ZVBluetoothStatusUnknown},     {1, ZVBluetoothStatusUnavailable},
      {2, ZVBluetoothStatusUnavailable}, {3, ZVBluetoothStatusUnavailable},
      {4, ZVBluetoothStatusPoweredOff},  {5, ZVBluetoothStatusPoweredOn},
  };
  for (const auto &[state, status] : cases) {
    central->setState(state);
    loop().runFor(0.01);
    EXPECT_EQ(facade().getBluetoothStatus(), status) << "state " << state;
  }
}

TEST(ZVPrinterMessageArchive, RoundTripsEveryFieldButThePeripheral) {
  ZVPrinterMessage record;
  record.name = "ZV-P1 \"front\"";
  record.mac = "DC:0D:30:1A:2B:3C";
  record.identifier = "0A1B2C3D-0000-4000-8000-000000000001";
  record.distance = 1.9952623f;
  record.mode = ZVPrinterModeBLE;
  const auto decoded = ZVPrinterMessage::decode(record.encode());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->name, record.name);
  EXPECT_EQ(decoded->mac, record.mac);
  EXPECT_EQ(decoded->identifier, record.identifier);
  EXPECT_EQ(decoded->distance, record.distance); // bit-exact through the text
  EXPECT_EQ(decoded->mode, 1);
  EXPECT_EQ(decoded->peripheral, nullptr);

  const auto empty = ZVPrinterMessage::decode(ZVPrinterMessage{}.encode());
  ASSERT_TRUE(empty);
  EXPECT_FALSE(empty->name || empty->mac || empty->identifier || empty->distance);
  EXPECT_EQ(ZVPrinterMessage{}.encode(), R"({"_mode":0})");
}

TEST(ZVPrinterMessageArchive, BadInputGivesNull) {
  const std::vector<std::string> bad = {
      "",
      "not json",
      "[1,2]",
      R"({"_name": 5})",
      R"({"_mode": "1"})",
      R"({"_mode": 1.5})",
      R"({"_distance": "far"})",
      R"({"_mac": [1]})",
      R"({"_mode": 18446744073709551615})",
      R"({"_name": "x")",
  };
  for (const auto &text : bad)
    EXPECT_EQ(ZVPrinterMessage::decode(text), nullptr) << text;
  const auto partial = ZVPrinterMessage::decode(R"({"_name": "A", "_other": 3})");
  ASSERT_TRUE(partial);
  EXPECT_EQ(partial->name, "A");
  EXPECT_EQ(partial->mode, 0);
}

} // namespace
} // namespace zvtest
