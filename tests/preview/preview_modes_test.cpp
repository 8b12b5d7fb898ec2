#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrinterC.h>

#include <gtest/gtest.h>

#include <set>
#include <span>
#include <vector>

namespace {

using PM = ZVImagePreviewManager;

ZVImage grayImage(uint32_t w, uint32_t h, const std::vector<uint8_t> &gray, double scale = 1) {
  std::vector<uint8_t> rgba;
  for (uint8_t g : gray)
    rgba.insert(rgba.end(), {g, g, g, 255});
  return *ZVImage::fromRGBA(w, h, rgba, scale);
}

ZVImage uniform(uint32_t w, uint32_t h, uint8_t gray) {
  return grayImage(w, h, std::vector<uint8_t>(size_t{w} * h, gray));
}

std::vector<uint8_t> redChannel(const ZVImage &image) {
  std::vector<uint8_t> red;
  for (size_t i = 0; i < image.rgba().size(); i += 4)
    red.push_back(image.rgba()[i]);
  return red;
}

TEST(DitheringPreview, ErrorStaysInItsRow) {
  // Worked by hand: the error of the right column must not reach the next
  // row's first pixel (which would turn it white).
  const auto preview = PM::ditheringPreviewWithImage(uniform(2, 2, 128));
  ASSERT_TRUE(preview);
  EXPECT_EQ(redChannel(*preview), (std::vector<uint8_t>{255, 0, 0, 255}));
  for (size_t i = 3; i < preview->rgba().size(); i += 4)
    EXPECT_EQ(preview->rgba()[i], 255);
}

TEST(DitheringPreview, TransparentIsBlackAndSizeIsInPoints) {
  std::vector<uint8_t> clear(4 * 6 * 4, 0);
  const auto preview = ZVBitmapManager::generateRenderingWithImage(
      *ZVImage::fromRGBA(4, 6, clear, 2.0), 1, 1.0, false);
  ASSERT_TRUE(preview);
  EXPECT_EQ(preview->pixelWidth(), 2u);
  EXPECT_EQ(preview->pixelHeight(), 3u);
  EXPECT_EQ(redChannel(*preview), std::vector<uint8_t>(6, 0));
  EXPECT_FALSE(
      PM::ditheringPreviewWithImage(*ZVImage::fromRGBA(1, 1, std::span(clear).first(4), 2.0)));
}

TEST(GrayScalePreview, LevelTableFollowsTheBitmapWidth) {
  // A uniform gray equal to one of the table's palette bytes passes the
  // diffusion without error; the palettes of the three tables differ there.
  struct Case {
    uint32_t width;
    uint8_t gray;
  };
  for (const Case c : {Case{384, 196}, Case{432, 196}, Case{640, 195}, Case{433, 191},
                       Case{500, 191}, Case{6, 237}}) {
    const auto preview = PM::grayScalePreviewWithImage(uniform(c.width, 3, c.gray), 1.0, true);
    ASSERT_TRUE(preview);
    EXPECT_EQ(redChannel(*preview), std::vector<uint8_t>(size_t{c.width} * 3, c.gray)) << c.width;
  }
  // 196 is not a level of the table for other widths: it mixes 191 and 210.
  const auto mixed = PM::grayScalePreviewWithImage(uniform(433, 3, 196), 1.0, false);
  ASSERT_TRUE(mixed);
  const std::vector<uint8_t> red = redChannel(*mixed);
  EXPECT_EQ(std::set<uint8_t>(red.begin(), red.end()), (std::set<uint8_t>{191, 210}));
}

TEST(GrayScalePreview, GammaBitmapSizeAndTallImages) {
  // Gamma 2 lifts 64 to 128, which is no level: the result mixes 125 and 144.
  const auto lifted = ZVBitmapManager::generateRenderingWithImage(uniform(8, 4, 64), 2, 2.0, false);
  ASSERT_TRUE(lifted);
  const std::vector<uint8_t> red = redChannel(*lifted);
  EXPECT_EQ(std::set<uint8_t>(red.begin(), red.end()), (std::set<uint8_t>{125, 144}));

  const auto scaled = PM::grayScalePreviewWithImage(
      grayImage(5, 3, std::vector<uint8_t>(15, 255), 2.0), 1.0, false);
  ASSERT_TRUE(scaled);
  EXPECT_EQ(scaled->pixelWidth(), 5u);
  EXPECT_EQ(scaled->scale(), 1.0);

  const auto tall = PM::grayScalePreviewWithImage(uniform(1, 6000, 222), 1.0, false);
  ASSERT_TRUE(tall);
  EXPECT_EQ(tall->pixelHeight(), 6000u);
  EXPECT_EQ(redChannel(*tall), std::vector<uint8_t>(6000, 222));
}

TEST(BinaryPreview, ThresholdOfTheFirstPointSizeBytes) {
  // Scale 2: the preview is 2 x 2 points and its threshold comes from the
  // first 4 gray bytes of the 4 x 4 bitmap (its top row), not the whole.
  const std::vector<uint8_t> gray{10, 30, 200, 220, 90,  90,  90,  90,
                                  90, 90, 90,  90,  140, 140, 140, 140};
  const ZVImage image = grayImage(4, 4, gray, 2.0);
  const uint32_t fromTopRow = ZVOtsu(gray.data(), 2, 2);
  const uint32_t fromAll = ZVOtsu(gray.data(), 4, 4);
  // The drawn 2 x 2 pixels average the bitmap's quadrants: 55, 150, 115, 115.
  auto expected = [](uint32_t t) {
    std::vector<uint8_t> red;
    for (uint32_t mean : {55u, 150u, 115u, 115u})
      red.push_back(mean > t ? 255 : 0);
    return red;
  };
  ASSERT_NE(expected(fromTopRow), expected(fromAll));
  const auto preview = ZVBitmapManager::generateRenderingWithImage(image, 0, 1.0, false);
  ASSERT_TRUE(preview);
  EXPECT_EQ(preview->pixelWidth(), 2u);
  EXPECT_EQ(redChannel(*preview), expected(fromTopRow));
  EXPECT_FALSE(PM::binaryPreviewWithImage(*ZVImage::fromRGBA(1, 1, ZVData(4, 0), 2.0)));
}

} // namespace
