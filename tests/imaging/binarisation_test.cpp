#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "imaging/raster_kernels.h"
#include "reference.h"

#include <gtest/gtest.h>

namespace {

using zv::detail::drawnCanvas;

zv::detail::Raster threshold(const ZVImage &image, uint64_t limit) {
  return zv::detail::thresholdRaster(*drawnCanvas(image, image.pixelWidth(), image.pixelHeight()),
                                     limit);
}

TEST(Otsu, FailureValueOneLevelAndTwoLevelTies) {
  const uint8_t gray[1] = {7};
  EXPECT_EQ(ZVOtsu(nullptr, 1, 1), 0xFFFFFFFFu);
  EXPECT_EQ(ZVOtsu(gray, 0, 1), 0xFFFFFFFFu);
  EXPECT_EQ(ZVOtsu(gray, 1, -3), 0xFFFFFFFFu);
  EXPECT_EQ(ZVOtsu(gray, 1, 1), 0u); // one level: the search stops at once
  // Two levels: every threshold between them has the same variance, and
  // the first (the lower level) wins.
  for (const auto &[a, b, darkCount] :
       {std::tuple{10, 200, 1}, {10, 200, 63}, {0, 255, 32}, {128, 129, 5}}) {
    std::vector<uint8_t> levels(64, static_cast<uint8_t>(b));
    std::fill_n(levels.begin(), darkCount, static_cast<uint8_t>(a));
    EXPECT_EQ(ZVOtsu(levels.data(), 8, 8), uint32_t(a)) << a << " " << b << " " << darkCount;
  }
}

TEST(Otsu, MatchesTheStepByStepSearchAndTheCanvasHistogram) {
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    const uint32_t w = 1 + random() % 40, h = 1 + random() % 40;
    const ZVImage image = reference::randomImage(random, w, h);
    std::vector<uint8_t> gray = reference::histogramGrayLevels(image);
    // Narrow the spread on some rounds so that ties and sparse histograms occur.
    if (round % 2)
      for (auto &g : gray)
        g = static_cast<uint8_t>(100 + g % 7);
    const uint32_t expected = reference::otsu(gray, int32_t(w), int32_t(h));
    EXPECT_EQ(ZVOtsu(gray.data(), int32_t(w), int32_t(h)), expected);
    if (round % 2 == 0) {
      const auto histogram = zv::detail::histogramWeightedHistogram(*drawnCanvas(image, w, h));
      EXPECT_EQ(zv::detail::otsuThreshold(histogram, w * h), expected);
    }
  }
}

TEST(ThresholdRaster, MatchesTheLiteralDecision) {
  // The ramp's weighted sums are exact integers, which the double formulas
  // truncate one lower for some levels.
  const ZVImage ramp = reference::grayRamp(4);
  for (const uint64_t limit : {0, 6, 7, 50, 51, 128, 253, 254, 255})
    EXPECT_EQ(threshold(ramp, limit).bytes, reference::thresholdRaster(ramp, limit)) << limit;
  zv::detail::GrayHistogram expected{};
  for (uint8_t g : reference::histogramGrayLevels(ramp))
    ++expected[g];
  EXPECT_EQ(zv::detail::histogramWeightedHistogram(*drawnCanvas(ramp, 256, 4)), expected);

  std::mt19937 random(11);
  for (int round = 0; round < 30; ++round) {
    const uint32_t w = 1 + random() % 70, h = 1 + random() % 20;
    const ZVImage image = reference::randomImage(random, w, h);
    // Now and then a threshold above every byte (a failed search's value).
    const uint64_t limit = round % 7 == 6 ? ~uint64_t{0} : random() % 256;
    EXPECT_EQ(threshold(image, limit).bytes, reference::thresholdRaster(image, limit))
        << w << "x" << h << " T=" << limit;
  }
}

TEST(NegativeBuffer, IgnoresBadBuffersAndLengths) {
  uint8_t byte = 0xBF;
  EXPECT_EQ(ZVAlgorithmManager::negativeBuffer(&byte, 0), &byte);
  EXPECT_EQ(ZVAlgorithmManager::negativeBuffer(&byte, -1), &byte);
  EXPECT_EQ(ZVAlgorithmManager::negativeBuffer(nullptr, 2), nullptr);
  EXPECT_EQ(byte, 0xBF);
}

} // namespace
