#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/gray_weighting.h"
#include "reference.h"

#include <gtest/gtest.h>

namespace {

ZVImage pixels(uint32_t w, uint32_t h, std::vector<uint8_t> rgba, double scale = 1.0) {
  return *ZVImage::fromRGBA(w, h, rgba, scale);
}

// Opaque red, blue, white and mid gray.
const std::vector<uint8_t> kSwatches = {255, 0,   0,   255, 0,   0,   255, 255,
                                        255, 255, 255, 255, 128, 128, 128, 255};

TEST(GrayWeighting, IntegerFormsAgreeWithTheDoubleFormulaForEveryColour) {
  for (uint32_t rgb = 0; rgb < (1u << 24); ++rgb) {
    const uint32_t r = rgb & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb >> 16;
    ASSERT_EQ(zv::detail::printGray(r, g, b), reference::printGray(r, g, b)) << rgb;
    ASSERT_EQ(zv::detail::histogramGray(r, g, b), reference::histogramGray(r, g, b)) << rgb;
    ASSERT_EQ(zv::detail::ditherGray(r, g, b), reference::ditherGray(r, g, b)) << rgb;
  }
}

TEST(GrayLevels, EachWeightingTruncatesItsOwnSum) {
  const ZVImage image = pixels(4, 1, kSwatches);
  // Histogram weighting: red and blue weights exchanged.
  EXPECT_EQ(ZVAlgorithmManager::graylevel256Datas(image), (ZVData{29, 76, 254, 128}));
  EXPECT_EQ(ZVAlgorithmManager::generateCluserGaryDatas(image, false), (ZVData{76, 29, 254, 128}));
  EXPECT_EQ(ZVAlgorithmManager::generateCluserGaryDatas(image, true), (ZVData{179, 226, 1, 127}));
  EXPECT_EQ(ZVAlgorithmManager::hdImage256Datas(image), (ZVData{76, 29, 254, 128}));
  const ZVData dither = {zv::detail::ditherGray(255, 0, 0), zv::detail::ditherGray(0, 0, 255),
                         zv::detail::ditherGray(255, 255, 255),
                         zv::detail::ditherGray(128, 128, 128)};
  EXPECT_EQ(dither, (ZVData{76, 28, 255, 127}));
  EXPECT_EQ(ZVAlgorithmManager::systemGraylevel256Datas(image), (ZVData{76, 29, 255, 128}));
}

TEST(GrayLevels, AlphaIsPremultipliedAndThenIgnored) {
  // Transparent white, half-transparent white (premultiplied to 128).
  const ZVImage image = pixels(2, 1, {255, 255, 255, 0, 255, 255, 255, 128});
  EXPECT_EQ(ZVAlgorithmManager::graylevel256Datas(image), (ZVData{0, 128}));
  EXPECT_EQ(ZVAlgorithmManager::generateCluserGaryDatas(image, true), (ZVData{255, 127}));
  EXPECT_EQ(ZVAlgorithmManager::systemGraylevel256Datas(image), (ZVData{0, 128}));
}

TEST(GrayLevels, OnlyA432WideBitmapIsStretchedByHalf) {
  std::vector<uint8_t> gray(432 * 100 * 4);
  for (size_t i = 0; i < gray.size(); ++i)
    gray[i] = i % 4 == 3 ? 255 : 100;
  const ZVData stretched = ZVAlgorithmManager::hdImage256Datas(pixels(432, 100, gray));
  ASSERT_EQ(stretched.size(), 432u * 150);
  EXPECT_EQ(std::count(stretched.begin(), stretched.end(), 100), 432 * 150);
  gray.resize(431 * 100 * 4);
  EXPECT_EQ(ZVAlgorithmManager::hdImage256Datas(pixels(431, 100, gray)).size(), 431u * 100);
  // 101 rows: 151.5 truncated.
  gray.resize(432 * 101 * 4, 255);
  EXPECT_EQ(ZVAlgorithmManager::hdImage256Datas(pixels(432, 101, gray)).size(), 432u * 151);
}

} // namespace
