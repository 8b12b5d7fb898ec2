#include <zvprinter/ZVAlgorithmManager.h>

#include "imaging/gray_weighting.h"
#include "reference.h"

#include <gtest/gtest.h>

namespace {

TEST(GrayWeighting, IntegerFormsAgreeWithTheDoubleFormulaForEveryColour) {
  for (uint32_t rgb = 0; rgb < (1u << 24); ++rgb) {
    const uint32_t r = rgb & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb >> 16;
    ASSERT_EQ(zv::detail::printGray(r, g, b), reference::printGray(r, g, b)) << rgb;
    ASSERT_EQ(zv::detail::histogramGray(r, g, b), reference::histogramGray(r, g, b)) << rgb;
    ASSERT_EQ(zv::detail::ditherGray(r, g, b), reference::ditherGray(r, g, b)) << rgb;
  }
}

TEST(GrayLevels, EachWeightingTruncatesItsOwnSumOfThePremultipliedColour) {
  // Opaque red, blue, white and mid gray; transparent white; half-transparent
  // white (premultiplied to 128).
  const ZVImage image =
      reference::image(6, 1, {255, 0,   0,   255, 0,   0,   255, 255, 255, 255, 255, 255,
                              128, 128, 128, 255, 255, 255, 255, 0,   255, 255, 255, 128});
  using M = ZVAlgorithmManager;
  // Histogram weighting: red and blue weights exchanged.
  EXPECT_EQ(M::graylevel256Datas(image), (ZVData{29, 76, 254, 128, 0, 128}));
  EXPECT_EQ(M::generateCluserGaryDatas(image, false), (ZVData{76, 29, 254, 128, 0, 128}));
  EXPECT_EQ(M::generateCluserGaryDatas(image, true), (ZVData{179, 226, 1, 127, 255, 127}));
  EXPECT_EQ(M::hdImage256Datas(image), (ZVData{76, 29, 254, 128, 0, 128}));
  EXPECT_EQ(M::systemGraylevel256Datas(image), (ZVData{76, 29, 255, 128, 0, 128}));
}

TEST(GrayLevels, OnlyA432WideBitmapIsStretchedByHalf) {
  // 101 rows: 151.5, truncated.
  const ZVData stretched =
      ZVAlgorithmManager::hdImage256Datas(reference::filled(432, 101, {100, 100, 100, 255}));
  ASSERT_EQ(stretched.size(), 432u * 151);
  EXPECT_EQ(std::count(stretched.begin(), stretched.end(), 100), 432 * 151);
  EXPECT_EQ(ZVAlgorithmManager::hdImage256Datas(reference::filled(431, 100, {})).size(),
            431u * 100);
}

} // namespace
