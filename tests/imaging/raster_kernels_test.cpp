// The print-mode kernels: hand-worked cases, then the slow literal transcriptions.
#include <zvprinter/ZVPrinterC.h>

#include "imaging/raster_kernels.h"
#include "reference.h"

#include <gtest/gtest.h>

namespace {

using namespace zv::detail;

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

// One opaque pixel per entry, gray (v, v, v); the dither weighting keeps
// 70, 72 and 255 as they are and turns (128, 128, 129) into 128.
std::vector<uint8_t> dither(uint32_t w, uint32_t h, std::vector<int> values) {
  std::vector<uint8_t> rgba;
  for (int v : values) {
    const auto g = static_cast<uint8_t>(v);
    rgba.insert(rgba.end(), {g, g, static_cast<uint8_t>(v == 128 ? 129 : v), 255});
  }
  return ditherRaster(*drawnCanvas(reference::image(w, h, rgba), w, h)).bytes;
}

TEST(ErrorDiffusion, HandWorkedRows) {
  // 128 is a dot (error +128, 56 ahead); 184 is white (error -71, -31 ahead:
  // truncated toward zero); 97 a dot, 170 white, 91, 167, 90, 167.
  EXPECT_EQ(dither(8, 1, std::vector<int>(8, 128)), (std::vector<uint8_t>{0xAA}));
  // (0,0) = 128: dot, 56 ahead, 40 below. (1,0) = 72 + 56: dot, error 128,
  // whose 3/16 = 24 would lift (0,1) from 70 + 40 = 110 to 134 (white): the
  // second column passes nothing down and to the left.
  std::vector<int> values(16, 255);
  values[0] = 128;
  values[1] = 72;
  values[8] = 70;
  const auto raster = dither(8, 2, values);
  EXPECT_EQ(raster[0] & 0xC0, 0xC0);
  EXPECT_EQ(raster[1] & 0x80, 0x80);
}

std::vector<uint8_t> cluster(const std::vector<uint8_t> &gray, uint32_t w, int32_t h) {
  std::vector<uint8_t> out(size_t((w + 7) / 8) * std::max(h, 0), 0);
  ZVBayerCluster(gray.data(), w, h, out.data());
  return out;
}

TEST(ClusteredDither, LevelsAndReadsIntoTheNextRow) {
  EXPECT_EQ(cluster(std::vector<uint8_t>(64, 3), 8, 8), std::vector<uint8_t>(8, 0x00));
  EXPECT_EQ(cluster(std::vector<uint8_t>(64, 255), 8, 8), std::vector<uint8_t>(8, 0xFF));
  // g = 4 prints only where the matrix holds 0 or 1 (row 1 column 1, row 5 column 5).
  EXPECT_EQ(cluster(std::vector<uint8_t>(64, 4), 8, 8),
            (std::vector<uint8_t>{0, 0x40, 0, 0, 0, 0x04, 0, 0}));
  // Width 10: row 0 is white (0); row 1 starts with six black (255) pixels.
  // Row 0's last group reads pixels 10..15 of the buffer; past the buffer is 0.
  std::vector<uint8_t> gray(20, 0);
  std::fill_n(gray.begin() + 10, 6, 255);
  EXPECT_EQ(cluster(gray, 10, 2), (std::vector<uint8_t>{0x00, 0x3F, 0xFC, 0x00}));
  std::vector<uint8_t> untouched(4, 0x11);
  ZVBayerCluster(gray.data(), 10, 0, untouched.data());
  EXPECT_EQ(untouched, std::vector<uint8_t>(4, 0x11));
}

TEST(DispersedDither, LevelsAndClearedTails) {
  std::vector<uint8_t> out(4, 0);
  const std::vector<uint8_t> black(20, 255);
  HTBayerDisperse(black.data(), 10, 2, out.data());
  EXPECT_EQ(out, (std::vector<uint8_t>{0xFF, 0xC0, 0xFF, 0xC0}));
  // (p >> 2) >= D: gray 4 prints only where the matrix holds 0 or 1.
  std::vector<uint8_t> grid(8, 0);
  const std::vector<uint8_t> dim(64, 4);
  HTBayerDisperse(dim.data(), 8, 8, grid.data());
  EXPECT_EQ(grid, (std::vector<uint8_t>{0x80, 0, 0, 0, 0x08, 0, 0, 0}));
}

// Gray ramps first (weighted sums that are exact integers, which the double
// formulas truncate one lower for some levels), then random images with a
// quarter of their pixels not opaque.
TEST(RasterKernels, MatchTheLiteralTranscriptions) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    const bool ramp = round < 2;
    const uint32_t w = ramp ? 256 : 1 + random() % 70, h = ramp ? 5 + round : 1 + random() % 20;
    const ZVImage image = ramp ? reference::grayRamp(h) : reference::randomImage(random, w, h);
    const auto drawn = drawnCanvas(image, w, h);
    const Pixels canvas = *drawn;
    SCOPED_TRACE(testing::Message() << "round " << round << ", " << w << "x" << h);

    std::vector<uint8_t> gray = reference::histogramGrayLevels(image);
    GrayHistogram histogram{};
    for (uint8_t g : gray)
      ++histogram[g];
    EXPECT_EQ(histogramWeightedHistogram(canvas), histogram);
    const uint32_t otsu = reference::otsu(gray, int32_t(w), int32_t(h));
    EXPECT_EQ(ZVOtsu(gray.data(), int32_t(w), int32_t(h)), otsu);
    for (auto &g : gray) // a narrow spread: ties and sparse histograms
      g = static_cast<uint8_t>(100 + g % 7);
    EXPECT_EQ(ZVOtsu(gray.data(), int32_t(w), int32_t(h)),
              reference::otsu(gray, int32_t(w), int32_t(h)));

    // Otsu's threshold, a random byte, or one above every byte (a failed search's value).
    std::vector<uint64_t> limits{otsu, random() % 256, ~uint64_t{0}};
    if (ramp)
      for (uint64_t t = 0; t < 256; ++t)
        limits.push_back(t);
    for (const uint64_t limit : limits)
      EXPECT_EQ(thresholdRaster(canvas, limit).bytes, reference::thresholdRaster(image, limit))
          << limit;

    EXPECT_EQ(ditherRaster(canvas).bytes, reference::ditherRaster(image));

    const auto px = reference::premultiplied(image);
    std::vector<uint8_t> reversed(size_t(w) * h);
    for (size_t i = 0; i < reversed.size(); ++i)
      reversed[i] = uint8_t(255 - reference::printGray(px[4 * i], px[4 * i + 1], px[4 * i + 2]));
    const auto expected = reference::clusterRaster(reversed, w, int32_t(h));
    EXPECT_EQ(cluster(reversed, w, int32_t(h)), expected);
    EXPECT_EQ(clusterRaster(canvas).bytes, expected);
  }
}

} // namespace
