#include <zvprinter/ZVCmdUniGenerator.h>

#include "command_bytes.h"

#include <gtest/gtest.h>

namespace {

using G = ZVCmdUniGenerator;

TEST(ZVCmdUniGenerator, QueriesAndActions) {
  EXPECT_EQ(G::getPrinterModelName(), bytesOf("\x1B\x1C& V1 getval \"printer_name\"\r\n"));
  EXPECT_EQ(G::getPrinterFirmwareVersion(), bytesOf("\x1B\x1C& V1 getval \"printer_version\"\r\n"));
  EXPECT_EQ(G::getPrinterSerialNumber(), bytesOf("\x1B\x1C& V1 getval \"serial_no\"\r\n"));
  EXPECT_EQ(G::getPrinterWifiInfo(), bytesOf("\x1B\x1C& V1 getval \"auto_wifi\"\r\n"));
  EXPECT_EQ(G::configureWifi(), bytesOf("\x1B\x1C& V1 do \"restart_wifi\"\r\n"));
  EXPECT_EQ(G::getPrinterModelName().size(), 30u);
  EXPECT_EQ(G::getPrinterFirmwareVersion().size(), 33u);
  EXPECT_EQ(G::configureWifi().size(), 26u);
}

TEST(ZVCmdUniGenerator, WifiSettingsWrapTheirField) {
  EXPECT_EQ(G::appendWifiInfo({}), bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"\"\r\n"));
  EXPECT_EQ(G::appendWifiInfo({0x00, 0xFF}),
            bytesOf(std::string_view("\x1B\x1C& V1 setval \"auto_wifi\" \"\x00\xFF\"\r\n", 32)));
  EXPECT_EQ(G::setPrinterWifiMode(0), bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"6WM:STA\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiMode(0).size(), 37u);
  EXPECT_EQ(G::setPrinterWifiMode(1), bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"5WM:AP\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiMode(-7), G::setPrinterWifiMode(1));
  EXPECT_EQ(G::setPrinterWifiSSID("office"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"9WS:office\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiIP("192.168.1.20"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"15WI:192.168.1.20\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiPassword(""),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"3WP:\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiPassword("s3cret!"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"10WP:s3cret!\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiAuth(12), bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"4WA:12\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiAuth(UINT64_MAX),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"4WA:-1\"\r\n"));
}

TEST(ZVCmdUniGenerator, LengthsCountUtf16UnitsWhileBytesFollowTheEncoding) {
  // Three characters of two UTF-8 bytes each: counted 3 + 3, six bytes sent.
  EXPECT_EQ(G::setPrinterWifiSSID("éàü"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"6WS:\xC3\xA9\xC3\xA0\xC3\xBC\"\r\n"));
  // A character beyond the BMP counts as two units; the IP goes out in GB 18030.
  EXPECT_EQ(G::setPrinterWifiSSID("中😀"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"6WS:\xE4\xB8\xAD\xF0\x9F\x98\x80\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiIP("中😀"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"6WI:\xD6\xD0\x94\x39\xFC\x36\"\r\n"));
  EXPECT_EQ(G::setPrinterWifiPassword("密码"),
            bytesOf("\x1B\x1C& V1 setval \"auto_wifi\" \"5WP:\xE5\xAF\x86\xE7\xA0\x81\"\r\n"));
}

TEST(ZVCmdUniGenerator, InvalidUtf8GivesAnEmptyBuffer) {
  EXPECT_TRUE(G::setPrinterWifiSSID("caf\xC3").empty());
  EXPECT_TRUE(G::setPrinterWifiIP("\xFF").empty());
  EXPECT_TRUE(G::setPrinterWifiPassword("\xED\xA0\x80").empty());
}

} // namespace

namespace {

TEST(ZVCmdUniGenerator, FirmwareIsCutIntoOtaFrames) {
  ZVData image(5000);
  for (size_t i = 0; i < image.size(); ++i)
    image[i] = static_cast<uint8_t>(i * 7);
  const auto slices = ZVCmdUniGenerator::generateFirmwarePacksWithData(image);
  ASSERT_EQ(slices.size(), 3u);
  const uint32_t offsets[] = {0, 2016, 4032};
  const size_t lengths[] = {2016, 2016, 968};
  for (size_t i = 0; i < slices.size(); ++i) {
    EXPECT_EQ(slices[i].offset, offsets[i]);
    ASSERT_EQ(slices[i].data.size(), 29 + lengths[i]);
    EXPECT_EQ(ZVData(slices[i].data.begin(), slices[i].data.begin() + 17),
              bytesOf("\x1B\x1C& V1 do \"ota\"\r\n"));
    EXPECT_EQ(slices[i].data[29], image[offsets[i]]);
  }
  EXPECT_EQ(slices[2].data[21], 968 & 0xFF);
  EXPECT_EQ(slices[2].data[22], 968 >> 8);
  EXPECT_TRUE(ZVCmdUniGenerator::generateFirmwarePacksWithData({}).empty());
}

} // namespace
