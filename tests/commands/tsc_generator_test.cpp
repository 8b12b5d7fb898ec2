#include <zvprinter/ZVCmdTSCGenerator.h>

#include "command_bytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using G = ZVCmdTSCGenerator;

TEST(ZVCmdTSCGenerator, FixedTextCommands) {
  EXPECT_EQ(G::selfTest(), bytesOf("SELFTEST\r\n"));
  EXPECT_EQ(G::setLabelLearn(), bytesOf("GAPDETECT\r\n"));
  EXPECT_EQ(G::feedToNextLabel(), bytesOf("FORMFEED\r\n"));
  EXPECT_EQ(G::setCLS(), bytesOf("CLS\r\n"));
}

TEST(ZVCmdTSCGenerator, NumberedCommandsKeepArgumentOrderAndUnits) {
  EXPECT_EQ(G::setPrintAreaSizeWithWidth(40, 30), bytesOf("SIZE 40 mm,30 mm\r\n"));
  EXPECT_EQ(G::setPrintAreaSizeWithWidth(0, 0), bytesOf("SIZE 0 mm,0 mm\r\n"));
  EXPECT_EQ(G::setPrintAreaSizeWithWidth(-5, 10), bytesOf("SIZE -5 mm,10 mm\r\n"));
  EXPECT_EQ(G::setReferenceXPos(8, -16), bytesOf("REFERENCE 8,-16\r\n"));
  EXPECT_EQ(G::setPrintSpeed(4), bytesOf("SPEED 4\r\n"));
  EXPECT_EQ(G::setPrintDensity(-3), bytesOf("DENSITY -3\r\n"));
  EXPECT_EQ(G::setPrintDirection(1, 0), bytesOf("DIRECTION 1,0\r\n"));
  EXPECT_EQ(G::printWithSets(2, 3), bytesOf("PRINT 2,3\r\n"));
}

TEST(ZVCmdTSCGenerator, NumbersAreSixtyFourBitSignedDecimal) {
  constexpr int64_t min = std::numeric_limits<int64_t>::min();
  constexpr int64_t max = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(G::setPrintAreaSizeWithWidth(min, max),
            bytesOf("SIZE -9223372036854775808 mm,9223372036854775807 mm\r\n"));
  // Unsigned arguments are printed as signed.
  EXPECT_EQ(G::setPrintSpeed(uint64_t{1} << 63), bytesOf("SPEED -9223372036854775808\r\n"));
  EXPECT_EQ(G::setPrintDirection(UINT64_MAX, uint64_t{1} << 32),
            bytesOf("DIRECTION -1,4294967296\r\n"));
}

TEST(ZVCmdTSCGenerator, RawStatusCommands) {
  EXPECT_EQ(G::setPrinterStateAutomaticBackWithStatus(true), (ZVData{0x1B, 0x1B, 0x09, 0x01}));
  EXPECT_EQ(G::setPrinterStateAutomaticBackWithStatus(false), (ZVData{0x1B, 0x1B, 0x09, 0x03}));
  EXPECT_EQ(G::getPrinterStatus(), (ZVData{0x1B, 0x21, 0x3F, 0x0D, 0x0A}));
}

TEST(ZVCmdTSCGenerator, AppendedCommandsAreEncodedInGB18030) {
  EXPECT_EQ(G::appendTSCDataWithCmd("TEXT 10,10,\"TSS24.BF2\",0,1,1,\"中文\"\r\n"),
            bytesOf("TEXT 10,10,\"TSS24.BF2\",0,1,1,\"\xD6\xD0\xCE\xC4\"\r\n"));
  EXPECT_EQ(G::appendTSCDataWithCmd(""), ZVData{});
  EXPECT_FALSE(G::appendTSCDataWithCmd("TEXT \xFF\r\n"));
}

} // namespace
