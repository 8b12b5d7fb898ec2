#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "imaging/raster_kernels.h"
#include "reference.h"

#include <gtest/gtest.h>

namespace {

using zv::detail::drawnCanvas;

ZVImage uniform(uint32_t w, uint32_t h, uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255) {
  std::vector<uint8_t> rgba(size_t(w) * h * 4);
  for (size_t i = 0; i < rgba.size(); i += 4) {
    rgba[i] = r;
    rgba[i + 1] = g;
    rgba[i + 2] = b;
    rgba[i + 3] = a;
  }
  return *ZVImage::fromRGBA(w, h, rgba);
}

zv::detail::Raster threshold(const ZVImage &image, uint64_t limit) {
  return zv::detail::thresholdRaster(*drawnCanvas(image, image.pixelWidth(), image.pixelHeight()),
                                     limit);
}

TEST(Otsu, RejectsMissingOrEmptyInput) {
  const uint8_t gray[1] = {7};
  EXPECT_EQ(ZVOtsu(nullptr, 1, 1), 4294967295u);
  EXPECT_EQ(ZVOtsu(gray, 0, 1), 4294967295u);
  EXPECT_EQ(ZVOtsu(gray, 1, -3), 4294967295u);
  EXPECT_EQ(ZVOtsu(gray, 1, 1), 0u); // one level: the search stops at once
}

TEST(Otsu, OneLevelGivesZeroAndTwoLevelsTheLowerOne) {
  const std::vector<uint8_t> white(64, 254);
  EXPECT_EQ(ZVOtsu(white.data(), 8, 8), 0u);
  for (const auto &[a, b, darkCount] :
       {std::tuple{10, 200, 1}, {10, 200, 63}, {0, 255, 32}, {128, 129, 5}}) {
    std::vector<uint8_t> gray(64, static_cast<uint8_t>(b));
    std::fill_n(gray.begin(), darkCount, static_cast<uint8_t>(a));
    EXPECT_EQ(ZVOtsu(gray.data(), 8, 8), uint32_t(a)) << a << " " << b << " " << darkCount;
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

TEST(ThresholdRaster, PacksMostSignificantBitFirstAndLeavesTheTailClear) {
  // Width 10: black, white, then eight black; one row.
  std::vector<uint8_t> rgba(40, 0);
  for (size_t i = 0; i < 10; ++i)
    rgba[i * 4 + 3] = 255;
  std::fill_n(rgba.begin() + 4, 3, 255);
  const auto raster = threshold(*ZVImage::fromRGBA(10, 1, rgba), 128);
  EXPECT_EQ(raster.bytesPerRow, 2);
  EXPECT_EQ(raster.bytes, (std::vector<uint8_t>{0xBF, 0xC0}));
  uint8_t bytes[2] = {0xBF, 0xC0};
  EXPECT_EQ(ZVAlgorithmManager::negativeBuffer(bytes, 0), bytes);
  EXPECT_EQ(ZVAlgorithmManager::negativeBuffer(bytes, -1), bytes);
  EXPECT_EQ(bytes[0], 0xBF);
  EXPECT_EQ(ZVAlgorithmManager::negativeBuffer(bytes, 2), bytes);
  EXPECT_EQ(bytes[1], 0x3F); // the six bits past the row print as no dots
}

TEST(ThresholdRaster, OnlyOpaquePixelsAtOrBelowTheThresholdAreDots) {
  // White (254) is a dot only from threshold 254; pure black even at 0.
  EXPECT_EQ(threshold(uniform(8, 1, 255, 255, 255), 253).bytes[0], 0x00);
  EXPECT_EQ(threshold(uniform(8, 1, 255, 255, 255), 254).bytes[0], 0xFF);
  EXPECT_EQ(threshold(uniform(8, 1, 0, 0, 0), 0).bytes[0], 0xFF);
  EXPECT_EQ(threshold(uniform(8, 1, 1, 1, 1), 0).bytes[0], 0x00);
  // Nearly opaque black and fully transparent pixels never print.
  EXPECT_EQ(threshold(uniform(8, 1, 0, 0, 0, 254), 255).bytes[0], 0x00);
  EXPECT_EQ(threshold(uniform(8, 1, 0, 0, 0, 0), 255).bytes[0], 0x00);
  // A threshold above every byte (the search's failure value) takes all opaque pixels.
  EXPECT_EQ(threshold(uniform(8, 1, 255, 255, 255), 0xFFFFFFFFFFFFFFFFu).bytes[0], 0xFF);
}

TEST(ThresholdRaster, MatchesTheLiteralDecisionOnRandomImages) {
  std::mt19937 random(11);
  for (int round = 0; round < 30; ++round) {
    const uint32_t w = 1 + random() % 70, h = 1 + random() % 20;
    const ZVImage image = reference::randomImage(random, w, h);
    const uint64_t limit = random() % 256;
    EXPECT_EQ(threshold(image, limit).bytes, reference::thresholdRaster(image, limit))
        << w << "x" << h << " T=" << limit;
  }
}

TEST(ThresholdRaster, IntegralSumsTruncateAsTheDoubleFormulaDoes) {
  const ZVImage ramp = reference::grayRamp(4);
  for (const uint64_t limit : {0, 6, 7, 50, 51, 128, 253, 254, 255})
    EXPECT_EQ(threshold(ramp, limit).bytes, reference::thresholdRaster(ramp, limit)) << limit;
  zv::detail::GrayHistogram expected{};
  for (uint8_t g : reference::histogramGrayLevels(ramp))
    ++expected[g];
  EXPECT_EQ(zv::detail::histogramWeightedHistogram(*drawnCanvas(ramp, 256, 4)), expected);
}

} // namespace
