#include <zvprinter/ZVBarcodeEncodeVerify.h>
#include <zvprinter/ZVLog.h>

#include "slice_printing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using V = ZVBarcodeEncodeVerify;

TEST(Codabar, FramesWithAAndAcceptsOnlyItsInnerCharacters) {
  EXPECT_EQ(V::verifyCodaBarEncoding("12-34"), valid("A12-34A"));
  EXPECT_EQ(V::verifyCodaBarEncoding("0123456789-$:/.+"), valid("A0123456789-$:/.+A"));
  EXPECT_EQ(V::verifyCodaBarEncoding(""), valid("AA"));
  EXPECT_EQ(V::verifyCodaBarEncoding("1A2"), invalid("A1A2A"));
  for (const std::string bad : {"1 2", "B", "٣", "12*"})
    EXPECT_EQ(V::verifyCodaBarEncoding(bad), invalid("A" + bad + "A"));
  EXPECT_TRUE(V::verifyCodaBarEncoding(std::string(500, '7')).isVerify); // no length limit
}

TEST(Codabar, LogsItsContentThroughTheHandler) {
  std::vector<std::string> lines;
  ZVSetLogHandler([&lines](std::string_view line) { lines.emplace_back(line); });
  V::verifyCodaBarEncoding("12-34");
  V::verifyCodaBarEncoding("中");
  ZVSetLogHandler({});
  V::verifyCodaBarEncoding("silenced");
  EXPECT_EQ(lines, (std::vector<std::string>{"codeBar == A12-34A", "codeBar == A中A"}));

  ZVSetLogHandler(ZVDefaultLogHandler);
  testing::internal::CaptureStderr();
  V::verifyCodaBarEncoding("9");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "codeBar == A9A\n");
}

TEST(Itf, EvenNumericUpToEighty) {
  EXPECT_TRUE(V::verifyItf25Encoding("").isVerify);
  EXPECT_TRUE(V::verifyItf25Encoding("1234").isVerify);
  EXPECT_FALSE(V::verifyItf25Encoding("123").isVerify);
  EXPECT_FALSE(V::verifyItf25Encoding("12a4").isVerify);
  EXPECT_TRUE(V::verifyItf25Encoding(std::string(80, '5')).isVerify);
  EXPECT_FALSE(V::verifyItf25Encoding(std::string(82, '5')).isVerify);
  // Counted in UTF-16 units: 80 Arabic-Indic digits (160 bytes) pass.
  std::string arabic;
  for (int i = 0; i < 80; ++i)
    arabic += "٣";
  EXPECT_EQ(V::verifyItf25Encoding(arabic), valid(arabic));
  EXPECT_FALSE(V::verifyItf25Encoding(arabic + "٣٣").isVerify);
}

TEST(Code128, AsciiAndFunctionEscapesFromOneToEighty) {
  EXPECT_FALSE(V::verifyCode128Encoding("").isVerify);
  EXPECT_TRUE(V::verifyCode128Encoding(std::string("\0\x1b\x7f", 3)).isVerify);
  EXPECT_TRUE(V::verifyCode128Encoding(std::string(80, 'x')).isVerify);
  EXPECT_FALSE(V::verifyCode128Encoding(std::string(81, 'x')).isVerify);
  EXPECT_TRUE(V::verifyCode128Encoding("\u00f1").isVerify);
  EXPECT_TRUE(V::verifyCode128Encoding("\u00f1A\u00f2B\u00f3C\u00f4").isVerify);
  EXPECT_FALSE(V::verifyCode128Encoding("\u00e9").isVerify);
  EXPECT_FALSE(V::verifyCode128Encoding("\u00f5").isVerify);
  EXPECT_FALSE(V::verifyCode128Encoding("\u00f1\u0080").isVerify);
  std::string escapes;
  for (int i = 0; i < 80; ++i)
    escapes += "\u00f1"; // 80 code units, 160 bytes
  EXPECT_TRUE(V::verifyCode128Encoding(escapes).isVerify);
  EXPECT_FALSE(V::verifyCode128Encoding(escapes + "1").isVerify);
}

TEST(Barcodes, InvalidUtf8FailsEveryCheckAndKeepsTheInput) {
  ZVSetLogHandler({});
  const std::string bad = "1234567\xE4\xB8";
  for (const auto check :
       {V::verifyEan8Encoding, V::verifyEan13Encoding, V::verifyUpcaEncoding, V::verifyUpceEncoding,
        V::verifyCodaBarEncoding, V::verifyItf25Encoding, V::verifyCode39Encoding,
        V::verifyCode93Encoding, V::verifyCode128Encoding})
    EXPECT_EQ(check(bad), invalid(bad));
  EXPECT_FALSE(V::isNumeric("1\xFF"));
  EXPECT_EQ(V::standardUPCEANChecksum("\xED\xA0\x80"), 0);
  EXPECT_EQ(V::convertUPCEtoUPCA("0123456\x80"), "");
}

} // namespace
