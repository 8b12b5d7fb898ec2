#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <vector>

namespace {

constexpr uint8_t kUntouched = 0xAA;

// The tone table: every byte value 0..255 once, as a 64 x 4 plane.
std::vector<uint8_t> toneTableOf(bool gammaType, const double *curve, float gamma) {
  std::vector<uint8_t> src(256);
  std::iota(src.begin(), src.end(), 0);
  std::vector<uint8_t> dst(256, kUntouched);
  GammaCorrectiom_New(src.data(), 64, 4, 1, dst.data(), gammaType, curve, gamma);
  return dst;
}

TEST(GammaCorrection, PowerLawTable) {
  // sqrt(i / 255) x 255 + 0.5 for gamma 2, truncated; gamma 0 and below stay
  // defined (exponent +inf or negative).
  for (const auto &[gamma, in, out] : {std::tuple{1.0f, 37, 37},
                                       {1.0f, 255, 255},
                                       {2.0f, 0, 0},
                                       {2.0f, 1, 16},
                                       {2.0f, 64, 128},
                                       {2.0f, 255, 255},
                                       {0.5f, 128, 64},
                                       {0.0f, 254, 0},
                                       {0.0f, 255, 255},
                                       {-1.0f, 0, 255}})
    EXPECT_EQ(toneTableOf(false, nullptr, gamma)[in], out) << gamma << " " << in;
  // 3 pixels of 3 channels: 9 bytes a row, stride 12; the padding is kept.
  std::vector<uint8_t> src(24);
  std::iota(src.begin(), src.end(), 100);
  std::vector<uint8_t> dst(24, kUntouched);
  GammaCorrectiom_New(src.data(), 3, 2, 3, dst.data(), false, nullptr, 2.0f);
  for (size_t i = 0; i < 24; ++i)
    EXPECT_EQ(dst[i], i % 12 >= 9 ? kUntouched : uint8_t(std::sqrt(src[i] / 255.0) * 255.0 + 0.5));
}

TEST(GammaCorrection, SplinePassesThroughItsKnots) {
  const std::array<double, 11> curve{0.0, 0.06,  0.12, 0.21,  0.34, 0.48,
                                     0.6, 0.705, 0.81, 0.908, 1.0};
  const std::vector<uint8_t> table = toneTableOf(true, curve.data(), 1.0f);
  // x = 0.2: 0.12 x 255 = 30.6; x = 0.4: 86.7; x = 0.8: 206.55.
  for (const auto &[in, out] :
       {std::pair{0, 0}, {51, 31}, {102, 87}, {153, 153}, {204, 207}, {255, 255}})
    EXPECT_EQ(table[in], out) << in;
}

// Sharpens rows padded to 4 bytes; the padding must stay untouched.
std::vector<uint8_t> sharpen(const std::vector<uint8_t> &src, int32_t width, int32_t height,
                             const std::vector<float> &levels, double strength,
                             std::vector<uint8_t> *palette = nullptr) {
  const size_t stride = (size_t(width) + 3) & ~size_t{3};
  std::vector<uint8_t> padded(stride * height, kUntouched), out(padded.size(), kUntouched), rows;
  for (int32_t y = 0; y < height; ++y)
    std::copy_n(src.begin() + y * width, width, padded.begin() + y * stride);
  std::vector<uint8_t> colours(levels.size());
  std::vector<float> work(padded.size());
  SharpLaplacianCl_New(out.data(), padded.data(), width, height, uint32_t(levels.size()),
                       levels.data(), colours.data(), work.data(), strength);
  for (auto row = out.begin(); row != out.end(); row += stride) {
    rows.insert(rows.end(), row, row + width);
    EXPECT_EQ(std::count(row + width, row + stride, kUntouched), stride - width);
  }
  if (palette) *palette = colours;
  return rows;
}

TEST(LaplacianSharpening, KernelWithBorderRule) {
  // One pixel of 70 on 50. Every pixel the kernel reaches from it gets
  // 20 x weight / 4 added, also at the border where the weights of cells
  // outside the image drop out of both sums. With all 256 levels the
  // integral results pass through the diffusion unchanged.
  std::vector<float> everyGray(256);
  std::iota(everyGray.begin(), everyGray.end(), 0.0f);
  std::vector<uint8_t> src(25, 50);
  src[12] = 70;
  std::vector<uint8_t> palette;
  EXPECT_EQ(sharpen(src, 5, 5, everyGray, 4.0, &palette),
            (std::vector<uint8_t>{50, 50, 45, 50, 50, 50, 45, 40, 45, 50, 45, 40, 150,
                                  40, 45, 50, 45, 40, 45, 50, 50, 50, 45, 50, 50}));
  EXPECT_EQ(palette[0], 255);
  EXPECT_EQ(palette[200], 55);
  // Strengths up to 0.1 leave the plane as it is.
  EXPECT_EQ(sharpen(src, 5, 5, everyGray, 0.05), src);
}

TEST(LaplacianSharpening, SerpentineDiffusionAndDegenerateLevels) {
  // Worked by hand with single-precision errors: row 0 runs left to right,
  // row 1 right to left; pixels short of neighbours split their error equally.
  // Left to right in row 1 would give 255, 0, 255; the standard weights
  // without the equal split would give 0, 255, 255.
  std::vector<uint8_t> palette;
  EXPECT_EQ(sharpen({20, 230, 128, 128, 160, 230}, 3, 2, {0.0f, 1.0f}, 0.05, &palette),
            (std::vector<uint8_t>{0, 255, 0, 255, 255, 255}));
  EXPECT_EQ(palette, (std::vector<uint8_t>{255, 0}));
  // Equal end levels divide by zero; every pixel still gets a defined byte.
  EXPECT_EQ(sharpen(std::vector<uint8_t>(6, 9), 3, 2, {0.5f, 0.5f}, 1.0),
            std::vector<uint8_t>(6, 0));
}

const uint8_t *pixelAt(const ZVImage &image, uint32_t x, uint32_t y) {
  return image.rgba().data() + (size_t{y} * image.pixelWidth() + x) * 4;
}

TEST(ImageToSharpen, KernelSaturatesAndTheBorderRingIsCopied) {
  // A dark pixel on the border and one inside: the inside one is pushed
  // down and its neighbours up (saturated); the ring keeps its values.
  const ZVImage flat = reference::filled(6, 5, {90, 160, 30, 255});
  std::vector<uint8_t> bytes(flat.rgba().begin(), flat.rgba().end());
  std::fill_n(bytes.begin(), 3, 10);
  std::fill_n(bytes.begin() + (2 * 6 + 2) * 4, 3, 100);
  const auto sharp = ZVBitmapManager::imageToSharpen(reference::image(6, 5, bytes));
  ASSERT_TRUE(sharp);
  EXPECT_EQ(pixelAt(*sharp, 0, 0)[0], 10);
  EXPECT_EQ(pixelAt(*sharp, 5, 4)[1], 160);
  // (1, 1): 9 x 90 - (10 + 100 + 6 x 90) = 160; centre: 9 x 100 - 8 x 90 = 180.
  EXPECT_EQ(pixelAt(*sharp, 1, 1)[0], 160);
  // Green 9 x 100 - 8 x 160 < 0, blue 9 x 100 - 8 x 30 > 255.
  EXPECT_TRUE(std::ranges::equal(std::span(pixelAt(*sharp, 2, 2), 4), ZVData{180, 0, 255, 255}));

  // Drawn at the truncated point size, scale 1.
  const auto scaled = ZVAlgorithmManager::imageToSharpen(reference::filled(7, 4, {}, 2.0));
  ASSERT_TRUE(scaled);
  EXPECT_EQ(std::tuple(scaled->pixelWidth(), scaled->pixelHeight(), scaled->scale()),
            std::tuple(3u, 2u, 1.0));
  EXPECT_FALSE(ZVAlgorithmManager::imageToSharpen(reference::filled(1, 1, {0, 0, 0, 255}, 2.0)));
}

TEST(ImageToTransparent, OnlyOpaquePureWhite) {
  std::vector<uint8_t> bytes{255, 255, 255, 255, 254, 255, 255, 255,
                             255, 255, 255, 128, 0,   0,   0,   255};
  const auto result = ZVBitmapManager::imageToTransparent(reference::image(2, 2, bytes));
  ASSERT_TRUE(result);
  std::fill_n(bytes.begin(), 4, 0); // transparent reads (0, 0, 0, 0) un-premultiplied
  EXPECT_TRUE(std::ranges::equal(result->rgba(), bytes));
}

} // namespace
