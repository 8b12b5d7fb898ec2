#include <zvprinter/ZVBarcodeEncodeVerify.h>

#include "slice_printing.h"

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
  EXPECT_EQ(V::verifyCode39Encoding("CODE-39 $/+%."), valid("CODE-39 $/+%."));
  EXPECT_EQ(V::verifyCode39Encoding("abc"), valid("+A+B+C"));
  // Once one character needs it, the plain $ is rewritten too.
  EXPECT_EQ(V::verifyCode39Encoding("$5 off!"), valid("/D5 +O+F+F/A"));
  EXPECT_EQ(V::verifyCode39Encoding(""), valid(""));
  EXPECT_EQ(V::verifyCode39Encoding("\u00e9"), invalid("\u00e9"));
  EXPECT_EQ(V::verifyCode39Encoding("A\U0001F600"), invalid("A\U0001F600"));
}

TEST(Code39, LengthLimitsApplyBeforeAndAfterRewriting) {
  const std::string a80(80, 'A');
  EXPECT_EQ(V::verifyCode39Encoding(a80), valid(a80));
  EXPECT_EQ(V::verifyCode39Encoding(a80 + "A"), invalid(a80 + "A"));
  EXPECT_EQ(V::verifyCode39Encoding(a80.substr(1) + "a"), invalid(a80.substr(1) + "+A"));
  EXPECT_EQ(V::verifyCode39Encoding(a80.substr(2) + "a"), valid(a80.substr(2) + "+A"));
}

TEST(Code93, UsesTheCode39AlphabetWithoutRewriting) {
  const std::string nines(80, '9');
  for (const std::string &text : {std::string("CODE-93 $/+%."), std::string(), nines})
    EXPECT_EQ(V::verifyCode93Encoding(text), valid(text));
  for (const std::string &text : {std::string("abc"), std::string("A*B"), nines + "9"})
    EXPECT_EQ(V::verifyCode93Encoding(text), invalid(text));
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
