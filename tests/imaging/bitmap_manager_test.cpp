#include <zvprinter/ZVBitmapManager.h>

#include <gtest/gtest.h>

namespace {

ZVImage black(uint32_t w, uint32_t h, double scale = 1.0) {
  std::vector<uint8_t> rgba(size_t(w) * h * 4, 0);
  for (size_t i = 3; i < rgba.size(); i += 4)
    rgba[i] = 255;
  return *ZVImage::fromRGBA(w, h, rgba, scale);
}

// Rows [first, last) of the image are all of one RGBA colour.
bool rowsAre(const ZVImage &image, uint32_t first, uint32_t last, std::array<uint8_t, 4> rgba) {
  const auto bytes = image.rgba();
  for (size_t i = size_t(first) * image.pixelWidth() * 4; i < size_t(last) * image.pixelWidth() * 4;
       ++i)
    if (bytes[i] != rgba[i % 4]) return false;
  return true;
}

TEST(Watermark, AddsAWhiteBandOf16PointsBelow500AndOf24From500) {
  for (const auto &[width, band] : {std::pair{499u, 16u}, {500u, 24u}, {1u, 16u}}) {
    const auto banded = ZVBitmapManager::puzzleImageWithBottomImage(black(width, 3));
    ASSERT_TRUE(banded);
    EXPECT_EQ(banded->pixelWidth(), width);
    EXPECT_EQ(banded->pixelHeight(), 3 + band);
    EXPECT_TRUE(rowsAre(*banded, 0, band, {255, 255, 255, 255}));
    EXPECT_TRUE(rowsAre(*banded, band, band + 3, {0, 0, 0, 255}));
  }
}

TEST(Watermark, DrawsAtOnePixelPerPointAndShowsWhiteThroughTransparency) {
  // 1000 x 8 pixels at scale 2 are 500 x 4 points: band 24, image resampled to 500 x 4.
  const auto scaled = ZVBitmapManager::puzzleImageWithBottomImage(black(1000, 8, 2.0));
  ASSERT_TRUE(scaled);
  EXPECT_EQ(scaled->pixelWidth(), 500u);
  EXPECT_EQ(scaled->pixelHeight(), 28u);
  EXPECT_DOUBLE_EQ(scaled->scale(), 1.0);
  EXPECT_TRUE(rowsAre(*scaled, 24, 28, {0, 0, 0, 255}));

  const auto clear = ZVImage::fromRGBA(2, 2, std::vector<uint8_t>(16, 0));
  const auto banded = ZVBitmapManager::puzzleImageWithBottomImage(*clear);
  EXPECT_TRUE(rowsAre(*banded, 0, 18, {255, 255, 255, 255}));
}

TEST(BitmapManager, UnknownModesGiveAnEmptyBuffer) {
  for (const int64_t mode : {3, -1, 48})
    for (const bool watermark : {false, true}) {
      const auto data =
          ZVBitmapManager::generateGenralDataWithImage(black(8, 2), watermark, mode, 48, true);
      ASSERT_TRUE(data);
      EXPECT_TRUE(data->empty());
    }
  EXPECT_TRUE(ZVBitmapManager::generateBitmapDataWithImage(black(8, 2), false, 3)->empty());
}

} // namespace
