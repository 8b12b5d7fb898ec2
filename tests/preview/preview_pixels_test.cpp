#include <zvprinter/ZVImagePreviewManager.h>

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using PM = ZVImagePreviewManager;

TEST(PreviewPixels, NearestColourTieGoesToWhite) {
  EXPECT_EQ(PM::getNearstColor(128, 128, 128), 1);
  EXPECT_EQ(PM::getNearstColor(127, 127, 127), 0);
  EXPECT_EQ(PM::getNearstColor(255, 0, 128), 1); // 65025 + 16384 vs 65025 + 16129
  EXPECT_EQ(PM::getNearstColor(255, 0, 127), 0);
  EXPECT_EQ(PM::getNearstColor(0, 0, 0), 0);
  EXPECT_EQ(PM::getNearstColor(255, 255, 255), 1);
}

TEST(PreviewPixels, GetPixelAddsTruncatedErrorAndClamps) {
  // 2 x 2 pixels; red in the top byte, the low byte must survive.
  const std::vector<uint32_t> pixels{0xFA6414A5u, 0x00000000u, 0x80808001u, 0xFFFFFF00u};
  const std::array<int32_t, 3> error{40, 0, -40};
  // 250 + 17 clamps to 255; 100 + 0; 20 - 17 = 3.
  EXPECT_EQ(PM::getPixel(pixels.data(), 2, 2, 0, 0, 7.0f / 16, error.data()), 0xFF6403A5u);
  // trunc(-2.5) is -2, not -3.
  const std::array<int32_t, 3> small{-8, 8, -1};
  EXPECT_EQ(PM::getPixel(pixels.data(), 2, 2, 1, 0, 5.0f / 16, small.data()), 0x7E828001u);
  EXPECT_EQ(PM::getPixel(pixels.data(), 2, 2, 0, 1, 1.0f, error.data()), 0x28000000u);

  for (auto [row, column] : {std::pair{0, -1}, {0, 2}, {-1, 0}, {2, 0}})
    EXPECT_EQ(PM::getPixel(pixels.data(), 2, 2, row, column, 1.0f, error.data()), 0xFFFFFFFFu);
  // A huge rate saturates instead of overflowing.
  EXPECT_EQ(PM::getPixel(pixels.data(), 2, 2, 1, 1, 1e30f, error.data()), 0xFFFF0000u);
}

TEST(PreviewPixels, SetPixelDropsWritesOutsideTheImage) {
  std::vector<uint32_t> pixels(6, 7);
  PM::setPixel(pixels.data(), 3, 2, 1, 2, 99);
  for (auto [row, column] : {std::pair{0, 3}, {0, -1}, {2, 0}, {-1, 2}})
    PM::setPixel(pixels.data(), 3, 2, row, column, 1);
  EXPECT_EQ(pixels, (std::vector<uint32_t>{7, 7, 7, 7, 7, 99}));
}

ZVImage imageOf(uint32_t w, uint32_t h, std::vector<uint8_t> rgba, double scale = 1.0) {
  auto image = ZVImage::fromRGBA(w, h, rgba, scale);
  EXPECT_TRUE(image);
  return *image;
}

TEST(PreviewGrayLevels, PreviewsOwnFormulaOnPremultipliedColour) {
  // Red, blue, white, (244, 244, 244), transparent red, half-transparent white.
  const ZVImage image = imageOf(6, 1, {255, 0,   0,   255, 0,   0, 255, 255, 255, 255, 255, 255,
                                       244, 244, 244, 255, 255, 0, 0,   0,   255, 255, 255, 128});
  // Left to right, 244 gives 244 (grouping the last two terms would give 243);
  // 128 premultiplied from 255 gives 128 too.
  EXPECT_EQ(PM::graylevel256Datas(image), (ZVData{29, 76, 254, 244, 0, 128}));
}

TEST(PreviewGrayLevels, ImageFromGrayBytes) {
  const ZVData ten{0, 25, 50, 75, 100, 125, 150, 175, 200, 255};
  EXPECT_FALSE(PM::imageWithGraylevel256Data(ten, 3));
  EXPECT_FALSE(PM::imageWithGraylevel256Data(ten, 0));
  EXPECT_FALSE(PM::imageWithGraylevel256Data({}, 4));
  const auto image = PM::imageWithGraylevel256Data(ten, 5);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixelWidth(), 5u);
  EXPECT_EQ(image->pixelHeight(), 2u);
  const uint8_t *px = image->rgba().data() + 6 * 4;
  EXPECT_EQ((std::array{px[0], px[1], px[2], px[3]}), (std::array<uint8_t, 4>{150, 150, 150, 255}));
}

} // namespace
