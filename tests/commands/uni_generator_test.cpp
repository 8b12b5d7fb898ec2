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

TEST(ZVCmdUniGenerator, FirmwareIsCutIntoOtaFrames) {
  // The frame layout itself is pinned by the firmware frame tests; here the
  // offset and length fields of a last, short frame.
  const auto slices = G::generateFirmwarePacksWithData(ZVData(5000, 0x5A));
  ASSERT_EQ(slices.size(), 3u);
  EXPECT_EQ(slices[2].offset, 4032u);
  ASSERT_EQ(slices[2].data.size(), 29u + 968u);
  EXPECT_EQ(ZVData(slices[2].data.begin(), slices[2].data.begin() + 25),
            bytesOf(std::string_view("\x1B\x1C& V1 do \"ota\"\r\n\xC0\x0F\0\0\xC8\x03\0\0", 25)));
}

} // namespace
