#include <zvprinter/ZVCacheManager.h>
#include <zvprinter/ZVDataDispatcher.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class CacheManagerTest : public ::testing::Test {
protected:
  void SetUp() override {
    armReceiveBlock();
    cache.setResolverFirmwareBlock([this](const ZVData &ack) {
      if (!ZVDataDispatcher::shared().receiveDataBlock()) acks.push_back({});
      acks.push_back(ack);
      armReceiveBlock();
    });
  }
  void TearDown() override { ZVDataDispatcher::shared().setReceiveDataBlock({}); }
  static void armReceiveBlock() {
    ZVDataDispatcher::shared().setReceiveDataBlock([](const ZVData &) {});
  }

  ZVCacheManager cache;
  std::vector<ZVData> acks; ///< an empty entry marks a clearing of receiveDataBlock
};

} // namespace

TEST_F(CacheManagerTest, RecognisesAnAcknowledgementSplitOverTwoValues) {
  cache.addCurrentValue({0x1B, 0x1C, 0x26, 0x10});
  EXPECT_THAT(acks, IsEmpty());
  cache.addCurrentValue({0x20, 0x30, 0x00, 0x50});
  EXPECT_THAT(acks, ElementsAre(ZVData{}, ZVData{0x10, 0x20, 0x30, 0x00, 0x50}));

  // Only the two latest values count: the prefix has now left the window.
  acks.clear();
  cache.addCurrentValue({0x60, 0x70, 0x80, 0x90});
  EXPECT_EQ(cache.cachedData(), (ZVData{0x20, 0x30, 0x00, 0x50, 0x60, 0x70, 0x80, 0x90}));
  EXPECT_THAT(acks, IsEmpty());

  cache.removeCachedData();
  EXPECT_THAT(cache.cachedData(), IsEmpty());
  cache.addCurrentValue({0x1B, 0x1C, 0x26, 1, 2, 3, 4}); // 7 bytes: too short
  EXPECT_THAT(acks, IsEmpty());
  cache.addCurrentValue({5});
  EXPECT_THAT(acks, ElementsAre(ZVData{}, ZVData{1, 2, 3, 4, 5}));
}

TEST(CacheManagerHexTest, WritesLowerCaseHexAndReadsHexTextPieceByPiece) {
  const uint8_t data[] = {0x0A, 0xFF, 0x00};
  EXPECT_EQ(ZVCacheManager::stringFromBytes(data, 3), "0aff00");
  EXPECT_EQ(ZVCacheManager::stringFromBytes(nullptr, 4), "");
  const auto read = [](const char *textIn) {
    return ZVCacheManager::qxConvertHexStrToData(textIn);
  };
  EXPECT_EQ(read("1A2"), (ZVData{0x01, 0xA2}));
  EXPECT_EQ(read("ff00"), (ZVData{0xFF, 0x00}));
  EXPECT_EQ(read(""), std::nullopt);
  EXPECT_EQ(ZVCacheManager::qxConvertHexStrToData(std::nullopt), std::nullopt);
  // Pieces that are not (only) hex digits.
  EXPECT_EQ(read("zz1gg1-1 f"), (ZVData{0x00, 0x01, 0x00, 0xFF, 0x0F}));
  // Characters are counted in UTF-16 units: é is one, an emoji two.
  const std::string emoji = "\xF0\x9F\x98\x80";
  EXPECT_EQ(read((emoji + "12").c_str()), (ZVData{0x00, 0x12}));
}
