#include <zvprinter/ZVEncode.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Expected bytes below were produced with python3's codecs, not with ICU.
struct Sample {
  int64_t encoding;
  std::string text;
  ZVData bytes;
};

TEST(ZVEncode, GB18030RoundTripsTwoAndFourByteCharacters) {
  const std::vector<Sample> samples{
      {0, "中文", {0xD6, 0xD0, 0xCE, 0xC4}},
      {0, "\U00020000", {0x95, 0x32, 0x82, 0x36}}, // CJK extension B
      {0, "😀", {0x94, 0x39, 0xFC, 0x36}},
      {0, "é€", {0xA8, 0xA6, 0xA2, 0xE3}},
      {0, "SIZE 40 mm\r\n", {'S', 'I', 'Z', 'E', ' ', '4', '0', ' ', 'm', 'm', '\r', '\n'}},
      {0, std::string("a\0b", 3), {'a', 0, 'b'}},
      {0, "", {}},
  };
  for (const auto &sample : samples) {
    SCOPED_TRACE(sample.text);
    EXPECT_EQ(ZVEncode::encodeDataWithString(sample.text), sample.bytes);
    EXPECT_EQ(ZVEncode::decodeStringWithData(sample.bytes), sample.text);
    EXPECT_EQ(ZVEncode::encodeDataWithString(sample.text, 0x80000632), sample.bytes);
    EXPECT_EQ(ZVEncode::decodeDataWithString(sample.bytes, 0x80000632), sample.text);
  }
}

TEST(ZVEncode, GB18030RefusesInvalidBytesAndInvalidText) {
  const std::vector<ZVData> invalid{
      {0xD6},                   // lead byte without its trail
      {'a', 0xD6, 0xD0, 0xCE},  // truncated at the end
      {0x80},                   // not a lead byte
      {0xFF},                   //
      {0x81, 0x7F},             // trail out of range
      {0x84, 0x31, 0xA5, 0x30}, // four-byte form past U+FFFF's range
      {0xFE, 0x39, 0xFE, 0x39}, // four-byte form past U+10FFFF
  };
  for (const auto &bytes : invalid)
    EXPECT_FALSE(ZVEncode::decodeStringWithData(bytes)) << testing::PrintToString(bytes);

  for (const std::string text : {"\xC3", "a\xE4\xB8", "\xC0\xAF", "\xED\xA0\x80", "\xFF"})
    EXPECT_FALSE(ZVEncode::encodeDataWithString(text)) << testing::PrintToString(text);
  EXPECT_FALSE(ZVEncode::encodeDataWithString(std::nullopt));
  EXPECT_FALSE(ZVEncode::encodeDataWithString(std::nullopt, 4));
}

TEST(ZVEncode, NumberedEncodingsConvertBothWays) {
  const std::vector<Sample> samples{
      {1, "plain", {'p', 'l', 'a', 'i', 'n'}},
      {3, "日本", {0xC6, 0xFC, 0xCB, 0xDC}},
      {4, "é", {0xC3, 0xA9}},
      {5, "ÿ", {0xFF}},
      {8, "日本", {0x93, 0xFA, 0x96, 0x7B}},
      {9, "ő", {0xF5}},
      {11, "Жж", {0xC6, 0xE6}},
      {12, "€", {0x80}},
      {13, "Ωω", {0xD9, 0xF9}},
      {14, "ğ", {0xF0}},
      {15, "ł", {0xB3}},
      {21, "日本", {0x1B, 0x24, 0x42, 0x46, 0x7C, 0x4B, 0x5C, 0x1B, 0x28, 0x42}},
      {30, "é", {0x8E}},
      {0x90000100, "a😀", {0x00, 0x61, 0xD8, 0x3D, 0xDE, 0x00}},
      {0x94000100, "a😀", {0x61, 0x00, 0x3D, 0xD8, 0x00, 0xDE}},
      {0x98000100, "a", {0, 0, 0, 'a'}},
      {0x9C000100, "a", {'a', 0, 0, 0}},
      {0x80000631, "中", {0xD6, 0xD0}},
      {0x80000A03, "中", {0xA4, 0xA4}},
      {0x80000940, "한", {0xC7, 0xD1}},
      {0x80000A02, "Ж", {0xF6}},
      {0x80000A08, "Ї", {0xB7}},
      {0x8000041B, "Ж", {0x86}},
      {0x80000201, "ÿ", {0xFF}}, // ISO Latin 1 named through CoreFoundation
  };
  for (const auto &sample : samples) {
    SCOPED_TRACE(testing::Message() << std::hex << sample.encoding << " " << sample.text);
    EXPECT_EQ(ZVEncode::encodeDataWithString(sample.text, sample.encoding), sample.bytes);
    EXPECT_EQ(ZVEncode::decodeDataWithString(sample.bytes, sample.encoding), sample.text);
  }
}

TEST(ZVEncode, UnmappableCharactersAndUnknownNumbersGiveNil) {
  EXPECT_FALSE(ZVEncode::encodeDataWithString("中", 5));
  EXPECT_FALSE(ZVEncode::encodeDataWithString("é", 1));
  EXPECT_FALSE(ZVEncode::encodeDataWithString("中", 0x80000A02));
  // Invisible characters are refused too, not dropped.
  EXPECT_FALSE(ZVEncode::encodeDataWithString("a\uFEFFb", 1));
  EXPECT_FALSE(ZVEncode::encodeDataWithString("a\u200Bb", 5));
  EXPECT_FALSE(ZVEncode::encodeDataWithString("\u2764\uFE0F", 8));
  EXPECT_FALSE(ZVEncode::decodeDataWithString(ZVData{0x80}, 1));
  EXPECT_FALSE(ZVEncode::decodeDataWithString(ZVData{0xED, 0xA0, 0x80}, 4));
  EXPECT_FALSE(ZVEncode::decodeDataWithString(ZVData{0, 0x11, 0, 0}, 0x98000100));
  // Platform numbers without a converter, and numbers that are no encoding.
  for (const int64_t number :
       {int64_t{0}, int64_t{2}, int64_t{6}, int64_t{7}, int64_t{16}, int64_t{65536},
        int64_t{0x80000001}, int64_t{0x80000632} + (int64_t{1} << 32), int64_t{-1}}) {
    EXPECT_FALSE(ZVEncode::encodeDataWithString("a", number)) << number;
    EXPECT_FALSE(ZVEncode::decodeDataWithString(ZVData{'a'}, number)) << number;
  }
}

TEST(ZVEncode, UnmarkedUtfFormsAreBigEndianWithoutByteOrderMark) {
  EXPECT_EQ(ZVEncode::encodeDataWithString("a", 10), (ZVData{0x00, 0x61}));
  EXPECT_EQ(ZVEncode::encodeDataWithString("", 10), ZVData{});
  EXPECT_EQ(ZVEncode::encodeDataWithString("a", 0x8C000100), (ZVData{0, 0, 0, 0x61}));
  EXPECT_EQ(ZVEncode::decodeDataWithString(ZVData{0x00, 0x61}, 10), "a");
  // A byte-order mark is read as the character it spells, both ways.
  EXPECT_EQ(ZVEncode::decodeDataWithString(ZVData{0xFE, 0xFF, 0x00, 0x61}, 10), "\uFEFFa");
  EXPECT_EQ(ZVEncode::decodeDataWithString(ZVData{0xFF, 0xFE, 0x61, 0x00}, 10), "\uFFFE\u6100");
  EXPECT_EQ(ZVEncode::encodeDataWithString("\uFFFEa", 10), (ZVData{0xFF, 0xFE, 0x00, 0x61}));
  EXPECT_EQ(ZVEncode::decodeDataWithString(ZVData{0, 0, 0xFE, 0xFF}, 0x8C000100), "\uFEFF");
  EXPECT_FALSE(ZVEncode::decodeDataWithString(ZVData{0xD8, 0x00}, 10)); // lone surrogate
  EXPECT_FALSE(ZVEncode::decodeDataWithString(ZVData{0x00}, 10));       // odd length
}

TEST(ZVEncode, LargeInputsConvertCompletely) {
  std::string text;
  for (int i = 0; i < 20000; ++i)
    text += "中a";
  const auto bytes = ZVEncode::encodeDataWithString(text);
  ASSERT_TRUE(bytes);
  EXPECT_EQ(bytes->size(), 60000u);
  EXPECT_EQ(ZVEncode::decodeStringWithData(*bytes), text);
}

} // namespace
