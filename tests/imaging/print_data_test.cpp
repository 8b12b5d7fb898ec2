// The conversions' print data: which raster each entry point sends, inverted
// or not, and the blank band above the image.
#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>

#include "reference.h"

#include <gtest/gtest.h>

namespace {

using M = ZVAlgorithmManager;
using B = ZVBitmapManager;

ZVData joined(const std::vector<ZVBitmapSlice> &slices) {
  ZVData frames;
  for (const auto &slice : slices)
    frames.insert(frames.end(), slice.data.begin(), slice.data.end());
  return frames;
}

ZVData framed(const ZVData &raster, int32_t bytesPerRow, int32_t rows) {
  return M::managerData(raster.data(), int32_t(raster.size()), bytesPerRow, rows, 48, true);
}

TEST(PrintData, ThresholdAndDitherDataAreInvertedClusterDataAndSlicesAreNot) {
  std::mt19937 random(17);
  const ZVImage image = reference::randomImage(random, 75, 70); // 10 bytes x 70 rows: 3 frames
  const ZVData threshold = reference::thresholdRaster(
      image, reference::otsu(reference::histogramGrayLevels(image), 75, 70));
  const ZVData dither = reference::ditherRaster(image);
  const ZVData cluster = reference::clusterRaster(M::generateCluserGaryDatas(image, true), 75, 70);

  EXPECT_EQ(*B::generateBinaryData(image, 0, false, false, 0), reference::inverted(threshold));
  EXPECT_EQ(M::negativeBuffer(nullptr, 2), nullptr);
  EXPECT_EQ(*B::generateDitheringData(image, 0, false), reference::inverted(dither));
  EXPECT_EQ(*B::generateClosureData(image, 0, false), cluster);
  EXPECT_EQ(joined(*M::generateBinaryArray(image)), framed(threshold, 10, 70));
  EXPECT_EQ(joined(*M::generateDitheringArray(image)), framed(dither, 10, 70));
  EXPECT_EQ(joined(*M::generateClusterArray(image)), framed(cluster, 10, 70));
}

TEST(PrintData, FixedThresholdsAndUnknownModes) {
  // Black, gray 1, white, transparent black; then four opaque whites.
  const ZVImage image = reference::image(
      8, 1, {0,   0,   0,   255, 1,   1,   1,   255, 255, 255, 255, 255, 0,   0,   0,   0,
             255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255});
  EXPECT_EQ(*B::printableBinaryData(image, 0, 0), (ZVData{0x7F}));
  EXPECT_EQ(*B::printableBinaryData(image, 255, 0), (ZVData{0x10}));
  for (const int64_t mode : {3, -1, 48})
    for (const bool watermark : {false, true})
      EXPECT_TRUE(B::generateGenralDataWithImage(image, watermark, mode, 48, true)->empty());
}

TEST(Watermark, AWhiteBandOf16PointsBelow500AndOf24From500AtOnePixelPerPoint) {
  for (const auto &[width, scale, band, alpha] : {std::tuple{499u, 1.0, 16u, 255},
                                                  {500u, 1.0, 24u, 255},
                                                  {1000u, 2.0, 24u, 255},
                                                  {2u, 1.0, 16u, 0}}) {
    const auto banded = B::puzzleImageWithBottomImage(
        reference::filled(width, 4, {0, 0, 0, uint8_t(alpha)}, scale));
    ASSERT_TRUE(banded);
    const uint32_t w = uint32_t(width / scale), h = uint32_t(4 / scale);
    ASSERT_EQ(banded->pixelWidth(), w);
    ASSERT_EQ(banded->pixelHeight(), h + band) << width;
    EXPECT_DOUBLE_EQ(banded->scale(), 1.0);
    // Opaque black below the band; transparent pixels show the white canvas.
    const auto bytes = banded->rgba();
    for (size_t i = 0; i < bytes.size(); ++i)
      ASSERT_EQ(bytes[i], i < size_t(w) * band * 4 || alpha == 0 || i % 4 == 3 ? 255 : 0)
          << width << " at " << i;
  }
}

} // namespace
