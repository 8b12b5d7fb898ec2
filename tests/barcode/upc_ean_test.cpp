#include <zvprinter/ZVBarcodeEncodeVerify.h>

#include "slice_printing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using V = ZVBarcodeEncodeVerify;

// Check digits of real product codes, computed with python3-stdnum.
TEST(UpcEan, Ean13AppendsOrChecksTheCheckDigit) {
  for (const std::string full :
       {"4006381333931", "5901234123457", "9780306406157", "5012345678900"}) {
    EXPECT_EQ(V::verifyEan13Encoding(full.substr(0, 12)), valid(full));
    EXPECT_EQ(V::verifyEan13Encoding(full), valid(full));
  }
  EXPECT_EQ(V::verifyEan13Encoding("4006381333932"), invalid("4006381333932"));
  // A letter makes the check digit 0 and the content invalid.
  EXPECT_EQ(V::verifyEan13Encoding("40063813339A"), invalid("40063813339A0"));
  for (const std::string length : {"", "40063813339", "40063813339312"})
    EXPECT_EQ(V::verifyEan13Encoding(length), invalid(length));
}

TEST(UpcEan, Ean8AppendsOrChecksTheCheckDigit) {
  for (const std::string full : {"96385074", "73513537", "55123457", "12345670"}) {
    EXPECT_EQ(V::verifyEan8Encoding(full.substr(0, 7)), valid(full));
    EXPECT_EQ(V::verifyEan8Encoding(full), valid(full));
  }
  EXPECT_EQ(V::verifyEan8Encoding("12345671"), invalid("12345671"));
  EXPECT_EQ(V::verifyEan8Encoding("123456"), invalid("123456"));
  EXPECT_EQ(V::verifyEan8Encoding("123456701"), invalid("123456701"));
}

TEST(UpcEan, UpcaIsCheckedAsEan13WithALeadingZero) {
  EXPECT_EQ(V::verifyUpcaEncoding("03600029145"), valid("0036000291452"));
  EXPECT_EQ(V::verifyUpcaEncoding("012345678905"), valid("0012345678905"));
  EXPECT_EQ(V::verifyUpcaEncoding("012345678906"), invalid("0012345678906"));
  EXPECT_EQ(V::verifyUpcaEncoding("0123456789"), invalid("00123456789"));
}

TEST(UpcEan, UpceSevenDigitsTakeTheCheckDigitOfTheirExpansion) {
  // UPC-E check digits of the UPC-A expansions, from python3-stdnum.
  for (const std::string eight : {"01234565", "04252614", "12345639", "06543240", "00123430"})
    EXPECT_EQ(V::verifyUpceEncoding(eight.substr(0, 7)), valid(eight));
  EXPECT_EQ(V::verifyUpceEncoding("2123456"), invalid("21234569"));
}

TEST(UpcEan, UpceEightDigitsTakeThePlainCheckDigitOfTheFirstSeven) {
  // 04252614 is the real code, but its own seven digits have check digit 0.
  EXPECT_FALSE(V::verifyUpceEncoding("04252614").isVerify);
  EXPECT_TRUE(V::verifyUpceEncoding("04252610").isVerify);
  EXPECT_TRUE(V::verifyUpceEncoding("01234565").isVerify); // both digits agree
  EXPECT_TRUE(V::verifyUpceEncoding("11234562").isVerify);
  // Number system 2 fails even with a matching digit (2123456 -> 9).
  EXPECT_EQ(V::verifyUpceEncoding("21234569"), invalid("21234569"));
  EXPECT_FALSE(V::verifyUpceEncoding("012345").isVerify);
  EXPECT_FALSE(V::verifyUpceEncoding("").isVerify);
}

TEST(UpcEan, UpceExpansionCoversEveryLastDigitRule) {
  EXPECT_EQ(V::convertUPCEtoUPCA("0123450"), "01200000345");
  EXPECT_EQ(V::convertUPCEtoUPCA("0425261"), "04210000526");
  EXPECT_EQ(V::convertUPCEtoUPCA("0123452"), "01220000345");
  EXPECT_EQ(V::convertUPCEtoUPCA("1234563"), "12340000056");
  EXPECT_EQ(V::convertUPCEtoUPCA("0654324"), "06543000002");
  EXPECT_EQ(V::convertUPCEtoUPCA("0123457"), "01234500007");
  EXPECT_EQ(V::convertUPCEtoUPCA("01234565"), "012345000065");
  EXPECT_EQ(V::convertUPCEtoUPCA("012345"), "");
}

TEST(UpcEan, ChecksumArithmetic) {
  EXPECT_EQ(V::standardUPCEANChecksum("400638133393"), 1);
  EXPECT_EQ(V::standardUPCEANChecksum(""), 0);
  EXPECT_EQ(V::standardUPCEANChecksum("12a4"), 0);
  // Past a weighted sum of 1000 the remainder keeps the dividend's sign:
  // 111 sevens weigh 56 * 21 + 55 * 7 = 1561, and (1000 - 1561) % 10 is -1.
  EXPECT_EQ(V::standardUPCEANChecksum(std::string(111, '7')), -1);
  EXPECT_FALSE(V::checkStandardUPCEANChecksum(""));
  EXPECT_TRUE(V::checkStandardUPCEANChecksum("0"));  // checksum of "" is 0
  EXPECT_TRUE(V::checkStandardUPCEANChecksum("0x")); // a non-digit last counts as 0
  EXPECT_FALSE(V::checkStandardUPCEANChecksum("1x"));
}

TEST(UpcEan, OtherScriptsDigitsAreNumericButCountAsZero) {
  EXPECT_TRUE(V::isNumeric(""));
  EXPECT_TRUE(V::isNumeric("0123456789"));
  EXPECT_TRUE(V::isNumeric("٠١٢٣٤٥٦٧٨٩"));  // Arabic-Indic
  EXPECT_TRUE(V::isNumeric("０９"));        // fullwidth
  EXPECT_TRUE(V::isNumeric("१२३"));         // Devanagari
  EXPECT_FALSE(V::isNumeric("²"));          // superscript: No, not Nd
  EXPECT_FALSE(V::isNumeric("Ⅻ"));          // Roman numeral: Nl
  EXPECT_FALSE(V::isNumeric("\U0001D7CE")); // Nd, but two surrogate code units
  EXPECT_FALSE(V::isNumeric("12 3"));
  // Seven Arabic-Indic digits: the check digit of non-ASCII text is 0, and
  // the result is numeric, so it passes.
  EXPECT_EQ(V::verifyEan8Encoding("١٢٣٤٥٦٧"), valid("١٢٣٤٥٦٧0"));
  EXPECT_TRUE(V::verifyEan8Encoding("١٢٣٤٥٦٧٨").isVerify);
  EXPECT_TRUE(V::verifyUpceEncoding("٣٢٣٤٥٦٧").isVerify); // number system counts as 0
}

} // namespace
