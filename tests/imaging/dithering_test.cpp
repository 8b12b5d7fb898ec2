#include <zvprinter/ZVPrinterC.h>

#include "imaging/raster_kernels.h"
#include "reference.h"

#include <gtest/gtest.h>

namespace {

// One opaque pixel per entry, gray (v, v, v); the dither weighting keeps
// 70, 72 and 255 as they are and turns (128, 128, 129) into 128.
ZVImage grays(uint32_t w, uint32_t h, std::vector<int> values) {
  std::vector<uint8_t> rgba;
  for (int v : values) {
    const auto g = static_cast<uint8_t>(v);
    rgba.insert(rgba.end(), {g, g, static_cast<uint8_t>(v == 128 ? 129 : v), 255});
  }
  return *ZVImage::fromRGBA(w, h, rgba);
}

zv::detail::Raster dither(const ZVImage &image) {
  return zv::detail::ditherRaster(
      *zv::detail::drawnCanvas(image, image.pixelWidth(), image.pixelHeight()));
}

TEST(ErrorDiffusion, MidGrayAlternatesFromADot) {
  // 128 is a dot (error +128, 56 ahead); 184 is white (error -71, -31 ahead:
  // truncated toward zero); 97 a dot, 170 white, 91, 167, 90, 167.
  const auto raster = dither(grays(8, 1, std::vector<int>(8, 128)));
  EXPECT_EQ(raster.bytes, (std::vector<uint8_t>{0xAA}));
}

TEST(ErrorDiffusion, TheSecondColumnPassesNothingDownLeft) {
  // (0,0) = 128: dot, 56 ahead, 40 below. (1,0) = 72 + 56: dot, error 128,
  // whose 3/16 = 24 would lift (0,1) from 70 + 40 = 110 to 134 (white).
  std::vector<int> values(16, 255);
  values[0] = 128;
  values[1] = 72;
  values[8] = 70;
  const auto raster = dither(grays(8, 2, values));
  EXPECT_EQ(raster.bytes[0] & 0xC0, 0xC0);
  EXPECT_EQ(raster.bytes[1] & 0x80, 0x80);
}

TEST(ErrorDiffusion, MatchesAWholeBufferTranscriptionOnRandomImages) {
  std::mt19937 random(3);
  EXPECT_EQ(dither(reference::grayRamp(6)).bytes, reference::ditherRaster(reference::grayRamp(6)));
  for (int round = 0; round < 40; ++round) {
    const uint32_t w = 1 + random() % 40, h = 1 + random() % 12;
    const ZVImage image = reference::randomImage(random, w, h);
    EXPECT_EQ(dither(image).bytes, reference::ditherRaster(image)) << w << "x" << h;
  }
}

std::vector<uint8_t> cluster(const std::vector<uint8_t> &gray, uint32_t w, int32_t h) {
  std::vector<uint8_t> out(size_t((w + 7) / 8) * std::max(h, 0), 0);
  ZVBayerCluster(gray.data(), w, h, out.data());
  return out;
}

TEST(ClusteredDither, LightNeverAndBlackAlwaysPrints) {
  EXPECT_EQ(cluster(std::vector<uint8_t>(64, 3), 8, 8), std::vector<uint8_t>(8, 0x00));
  EXPECT_EQ(cluster(std::vector<uint8_t>(64, 255), 8, 8), std::vector<uint8_t>(8, 0xFF));
  // g = 4 prints only where the matrix holds 0 or 1 (row 1 column 1, row 5 column 5).
  const auto light = cluster(std::vector<uint8_t>(64, 4), 8, 8);
  EXPECT_EQ(light, (std::vector<uint8_t>{0, 0x40, 0, 0, 0, 0x04, 0, 0}));
}

TEST(ClusteredDither, TheLastGroupReadsOnIntoTheNextRow) {
  // Width 10: row 0 is white (0); row 1 starts with six black (255) pixels.
  std::vector<uint8_t> gray(20, 0);
  std::fill_n(gray.begin() + 10, 6, 255);
  const auto out = cluster(gray, 10, 2);
  EXPECT_EQ(out[0], 0x00);
  EXPECT_EQ(out[1], 0x3F); // pixels 10..15 of the buffer, past row 0's end
  EXPECT_EQ(out[2], 0xFC);
  EXPECT_EQ(out[3], 0x00); // past the buffer: treated as 0
  std::vector<uint8_t> untouched(4, 0x11);
  ZVBayerCluster(gray.data(), 10, 0, untouched.data());
  EXPECT_EQ(untouched, std::vector<uint8_t>(4, 0x11));
}

TEST(ClusteredDither, CanvasKernelEqualsClusteringTheReversedGray) {
  std::mt19937 random(5);
  for (int round = 0; round < 41; ++round) {
    const uint32_t w = round == 0 ? 256 : 1 + random() % 30, h = round == 0 ? 9 : 1 + random() % 12;
    const ZVImage image =
        round == 0 ? reference::grayRamp(h) : reference::randomImage(random, w, h);
    const auto px = reference::premultiplied(image);
    std::vector<uint8_t> reversed(size_t(w) * h);
    for (size_t i = 0; i < reversed.size(); ++i)
      reversed[i] = uint8_t(255 - reference::printGray(px[4 * i], px[4 * i + 1], px[4 * i + 2]));
    const auto expected = reference::clusterRaster(reversed, w, int32_t(h));
    EXPECT_EQ(cluster(reversed, w, int32_t(h)), expected) << w << "x" << h;
    EXPECT_EQ(zv::detail::clusterRaster(*zv::detail::drawnCanvas(image, w, h)).bytes, expected);
  }
}

TEST(DispersedDither, ClearsTheBitsPastEachRow) {
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

} // namespace
