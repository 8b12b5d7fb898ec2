#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVCmdTSCGenerator.h>

#include "command_bytes.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using G = ZVCmdTSCGenerator;

// Left half black, right half white, so every mode has something to print.
ZVImage halfBlack(uint32_t width, uint32_t height, double scale = 1.0) {
  ZVData rgba(size_t{width} * height * 4, 255);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width / 2; ++x)
      for (int c = 0; c < 3; ++c)
        rgba[(size_t{y} * width + x) * 4 + c] = 0;
  return ZVImage::fromRGBA(width, height, rgba, scale).value();
}

ZVData payloadOf(const ZVImage &image, int64_t mode, int64_t compress) {
  return ZVBitmapManager::generateGenralDataWithImage(image, false, mode, compress, false).value();
}

ZVData concat(ZVData head, const ZVData &tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

TEST(ZVCmdTSCGeneratorBitmap, RawPayloadFollowsTheHeaderDirectly) {
  const ZVImage image = halfBlack(12, 10);
  const ZVData payload = payloadOf(image, 0, 0);
  ASSERT_EQ(payload.size(), 20u); // two bytes per row: the partial byte counts
  EXPECT_EQ(G::addBitmapWithXPos(5, 7, 0, image, 0, 0),
            concat(bytesOf("BITMAP 5,7,2,10,0,"), payload));
  EXPECT_EQ(G::addBitmapWithXPos(-1, 0, 1, image, 0, 0),
            concat(bytesOf("BITMAP -1,0,2,10,1,"), payloadOf(image, 1, 0)));
}

TEST(ZVCmdTSCGeneratorBitmap, CompressedPayloadCarriesItsLength) {
  const ZVImage image = halfBlack(96, 40);
  for (const uint64_t mode : {0, 1, 2}) {
    const ZVData payload = payloadOf(image, static_cast<int64_t>(mode), 48);
    ASSERT_FALSE(payload.empty());
    ZVData expected = bytesOf("BITMAP 0,8,12,40," + std::to_string(mode) + ",");
    for (int shift = 0; shift < 32; shift += 8)
      expected.push_back(static_cast<uint8_t>(payload.size() >> shift));
    EXPECT_EQ(G::addBitmapWithXPos(0, 8, mode, image, 0, 48), concat(expected, payload))
        << "mode " << mode;
  }
}

TEST(ZVCmdTSCGeneratorBitmap, UnknownModeGivesAnEmptyPayloadAndTheHeaderCountsPixels) {
  const ZVImage image = halfBlack(12, 10);
  EXPECT_EQ(G::addBitmapWithXPos(0, 0, 3, image, 0, 0), bytesOf("BITMAP 0,0,2,10,3,"));
  EXPECT_EQ(G::addBitmapWithXPos(0, 0, 3, image, 0, 48),
            concat(bytesOf("BITMAP 0,0,2,10,3,"), {0, 0, 0, 0}));
  EXPECT_EQ(G::addBitmapWithXPos(0, 0, UINT64_MAX, image, 0, 0), bytesOf("BITMAP 0,0,2,10,-1,"));
  // 24 x 20 pixels at scale 2 are 12 x 10 points; the header says 3 bytes x 20 rows.
  EXPECT_EQ(G::addBitmapWithXPos(0, 0, 3, halfBlack(24, 20, 2.0), 0, 0),
            bytesOf("BITMAP 0,0,3,20,3,"));
}

TEST(ZVCmdTSCGeneratorBitmap, BitmapModeArgumentIsIgnored) {
  const ZVImage image = halfBlack(17, 3);
  const auto reference = G::addBitmapWithXPos(1, 2, 0, image, 0, 48);
  ASSERT_TRUE(reference);
  EXPECT_EQ(ZVData(reference->begin(), reference->begin() + 17), bytesOf("BITMAP 1,2,3,3,0,"));
  for (const int64_t bitmapMode : {1, 2, -5, 1000})
    EXPECT_EQ(G::addBitmapWithXPos(1, 2, 0, image, bitmapMode, 48), reference);
}

TEST(ZVCmdTSCGeneratorBitmap, SizeLimitAddsPayloadAndRaster) {
  // With an empty payload (mode 3) the raster alone is counted.
  EXPECT_TRUE(G::addBitmapWithXPos(0, 0, 3, halfBlack(1, 200000), 0, 0));
  EXPECT_FALSE(G::addBitmapWithXPos(0, 0, 3, halfBlack(1, 200001), 0, 0));
  EXPECT_FALSE(G::addBitmapWithXPos(0, 0, 3, halfBlack(24, 66667), 0, 0)); // 3 x 66667
  // A raw payload doubles the count: 100 x 1000 twice is exactly the limit.
  EXPECT_TRUE(G::addBitmapWithXPos(0, 0, 0, halfBlack(800, 1000), 0, 0));
  EXPECT_FALSE(G::addBitmapWithXPos(0, 0, 0, halfBlack(800, 1001), 0, 0));
}

} // namespace
