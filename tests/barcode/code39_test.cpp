#include <zvprinter/ZVBarcodeEncodeVerify.h>

#include <gtest/gtest.h>

#include <iterator>
#include <string>

namespace {

using V = ZVBarcodeEncodeVerify;

// The Code 39 full-ASCII table, one entry per code 0 to 127.
const char *const kFullAscii[128] = {
    "%U", "$A", "$B", "$C", "$D", "$E", "$F", "$G", "$H", "$I", "$J", "$K", "$L", "$M", "$N", "$O",
    "$P", "$Q", "$R", "$S", "$T", "$U", "$V", "$W", "$X", "$Y", "$Z", "%A", "%B", "%C", "%D", "%E",
    " ",  "/A", "/B", "/C", "/D", "/E", "/F", "/G", "/H", "/I", "/J", "/K", "/L", "-",  ".",  "/O",
    "0",  "1",  "2",  "3",  "4",  "5",  "6",  "7",  "8",  "9",  "/Z", "%F", "%G", "%H", "%I", "%J",
    "%V", "A",  "B",  "C",  "D",  "E",  "F",  "G",  "H",  "I",  "J",  "K",  "L",  "M",  "N",  "O",
    "P",  "Q",  "R",  "S",  "T",  "U",  "V",  "W",  "X",  "Y",  "Z",  "%K", "%L", "%M", "%N", "%O",
    "%W", "+A", "+B", "+C", "+D", "+E", "+F", "+G", "+H", "+I", "+J", "+K", "+L", "+M", "+N", "+O",
    "+P", "+Q", "+R", "+S", "+T", "+U", "+V", "+W", "+X", "+Y", "+Z", "%P", "%Q", "%R", "%S", "%T",
};

TEST(Code39, FullAsciiTableRowByRow) {
  for (int code = 0; code < 128; ++code)
    EXPECT_EQ(V::tryToConvertToExtendedMode(std::string(1, static_cast<char>(code))),
              kFullAscii[code])
        << "code " << code;
  EXPECT_EQ(V::tryToConvertToExtendedMode("Ab$ 1"), "A+B/D 1");
  EXPECT_EQ(V::tryToConvertToExtendedMode(""), "");
  EXPECT_EQ(V::tryToConvertToExtendedMode("abc\u0080"), "");
  EXPECT_EQ(V::tryToConvertToExtendedMode("é"), "");
}

TEST(Code39, PlainContentIsKeptAndOtherContentRewrittenWhole) {
  const auto plain = V::verifyCode39Encoding("CODE-39 $/+%.");
  EXPECT_TRUE(plain.isVerify);
  EXPECT_EQ(plain.content, "CODE-39 $/+%.");
  const auto lower = V::verifyCode39Encoding("abc");
  EXPECT_TRUE(lower.isVerify);
  EXPECT_EQ(lower.content, "+A+B+C");
  // Once one character needs it, the plain $ is rewritten too.
  const auto mixed = V::verifyCode39Encoding("$5 off!");
  EXPECT_TRUE(mixed.isVerify);
  EXPECT_EQ(mixed.content, "/D5 +O+F+F/A");
  EXPECT_TRUE(V::verifyCode39Encoding("").isVerify);

  const auto accent = V::verifyCode39Encoding("\u00e9");
  EXPECT_FALSE(accent.isVerify);
  EXPECT_EQ(accent.content, "\u00e9");
}

TEST(Code39, LengthLimitsApplyBeforeAndAfterRewriting) {
  EXPECT_TRUE(V::verifyCode39Encoding(std::string(80, 'A')).isVerify);
  const auto tooLong = V::verifyCode39Encoding(std::string(81, 'A'));
  EXPECT_FALSE(tooLong.isVerify);
  EXPECT_EQ(tooLong.content, std::string(81, 'A'));
  const auto grown = V::verifyCode39Encoding(std::string(79, 'A') + "a");
  EXPECT_FALSE(grown.isVerify);
  EXPECT_EQ(grown.content, std::string(79, 'A') + "+A");
  EXPECT_TRUE(V::verifyCode39Encoding(std::string(78, 'A') + "a").isVerify);
}

TEST(Code93, UsesTheCode39AlphabetWithoutRewriting) {
  EXPECT_TRUE(V::verifyCode93Encoding("CODE-93 $/+%.").isVerify);
  EXPECT_TRUE(V::verifyCode93Encoding("").isVerify);
  EXPECT_TRUE(V::verifyCode93Encoding(std::string(80, '9')).isVerify);
  EXPECT_FALSE(V::verifyCode93Encoding(std::string(81, '9')).isVerify);
  const auto lower = V::verifyCode93Encoding("abc");
  EXPECT_FALSE(lower.isVerify);
  EXPECT_EQ(lower.content, "abc");
  EXPECT_FALSE(V::verifyCode93Encoding("A*B").isVerify);
}

TEST(Code39, AlphabetTableAndLookup) {
  EXPECT_EQ(std::u16string(std::begin(ZV_CODE39_ALPHABET), std::end(ZV_CODE39_ALPHABET)),
            u"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ-. $/+%");
  EXPECT_EQ(std::u16string(std::begin(ZV_CHARS_WHICH_ARE_TEN_LENGTH_EACH_AFTER_DECODED),
                           std::end(ZV_CHARS_WHICH_ARE_TEN_LENGTH_EACH_AFTER_DECODED)),
            u"/:+.");
  EXPECT_TRUE(V::arrayContains(ZV_CODE39_ALPHABET, 43, u'%'));
  EXPECT_FALSE(V::arrayContains(ZV_CODE39_ALPHABET, 42, u'%')); // only the first count entries
  EXPECT_FALSE(V::arrayContains(ZV_CODE39_ALPHABET, 0, u'0'));
  EXPECT_FALSE(V::arrayContains(nullptr, 43, u'0'));
}

} // namespace
