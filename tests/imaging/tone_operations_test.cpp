#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVPrinterC.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numeric>
#include <vector>

namespace {

constexpr uint8_t kUntouched = 0xAA;

// Runs the tone curve over a width x height plane of one channel whose rows
// are padded to 4 bytes, with every byte value 0..255 appearing once.
std::vector<uint8_t> toneTableOf(bool gammaType, const double *curve, float gamma) {
  std::vector<uint8_t> src(256);
  std::iota(src.begin(), src.end(), 0);
  std::vector<uint8_t> dst(256, kUntouched);
  GammaCorrectiom_New(src.data(), 64, 4, 1, dst.data(), gammaType, curve, gamma);
  return dst;
}

TEST(GammaCorrection, PowerLawTable) {
  const std::vector<uint8_t> identity = toneTableOf(false, nullptr, 1.0f);
  for (int i = 0; i < 256; ++i)
    EXPECT_EQ(identity[i], i);

  // Gamma 2: sqrt(i / 255) x 255 + 0.5, truncated.
  const std::vector<uint8_t> brighter = toneTableOf(false, nullptr, 2.0f);
  EXPECT_EQ(brighter[0], 0);
  EXPECT_EQ(brighter[1], 16); // 15.97 + 0.5
  EXPECT_EQ(brighter[64], 128);
  EXPECT_EQ(brighter[255], 255);
  const std::vector<uint8_t> darker = toneTableOf(false, nullptr, 0.5f);
  EXPECT_EQ(darker[128], 64); // 64.25 + 0.5
  EXPECT_EQ(darker[255], 255);

  // Gamma 0 and below stay defined: exponent +inf or negative.
  const std::vector<uint8_t> zero = toneTableOf(false, nullptr, 0.0f);
  EXPECT_EQ(zero[254], 0);
  EXPECT_EQ(zero[255], 255);
  const std::vector<uint8_t> negative = toneTableOf(false, nullptr, -1.0f);
  EXPECT_EQ(negative[0], 255);
  EXPECT_EQ(negative[255], 255);
}

TEST(GammaCorrection, SplinePassesThroughItsKnots) {
  const std::array<double, 11> linear{0.0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0};
  const std::vector<uint8_t> identity = toneTableOf(true, linear.data(), 1.0f);
  for (int i = 0; i < 256; ++i)
    EXPECT_EQ(identity[i], i) << i;

  const std::array<double, 11> curve{0.0, 0.06,  0.12, 0.21,  0.34, 0.48,
                                     0.6, 0.705, 0.81, 0.908, 1.0};
  const std::vector<uint8_t> table = toneTableOf(true, curve.data(), 1.0f);
  EXPECT_EQ(table[0], 0);
  EXPECT_EQ(table[51], 31);   // x = 0.2: 0.12 x 255 = 30.6
  EXPECT_EQ(table[102], 87);  // x = 0.4: 0.34 x 255 = 86.7
  EXPECT_EQ(table[153], 153); // x = 0.6
  EXPECT_EQ(table[204], 207); // x = 0.8: 0.81 x 255 = 206.55
  EXPECT_EQ(table[255], 255);
  for (int i = 1; i < 256; ++i)
    EXPECT_LE(table[i - 1], table[i]) << i;
}

TEST(GammaCorrection, PaddedRowsAllChannels) {
  // 3 pixels of 3 channels: 9 bytes a row, stride 12; the padding is kept.
  std::vector<uint8_t> src(24);
  std::iota(src.begin(), src.end(), 100);
  std::vector<uint8_t> dst(24, kUntouched);
  GammaCorrectiom_New(src.data(), 3, 2, 3, dst.data(), false, nullptr, 2.0f);
  for (size_t i = 0; i < 24; ++i) {
    const bool padding = i % 12 >= 9;
    const auto expected =
        padding ? kUntouched : static_cast<uint8_t>(std::sqrt(src[i] / 255.0) * 255.0 + 0.5);
    EXPECT_EQ(dst[i], expected) << i;
  }
}

struct SharpenResult {
  std::vector<uint8_t> out;
  std::vector<uint8_t> palette;
};

SharpenResult sharpen(const std::vector<uint8_t> &src, int32_t width, int32_t height,
                      const std::vector<float> &levels, double strength) {
  const size_t stride = (static_cast<size_t>(width) + 3) & ~size_t{3};
  std::vector<uint8_t> padded(stride * height, kUntouched);
  for (int32_t y = 0; y < height; ++y)
    std::copy_n(src.begin() + y * width, width, padded.begin() + y * stride);
  std::vector<uint8_t> out(padded.size(), kUntouched);
  std::vector<uint8_t> palette(levels.size(), 0);
  std::vector<float> work(padded.size());
  SharpLaplacianCl_New(out.data(), padded.data(), width, height,
                       static_cast<uint32_t>(levels.size()), levels.data(), palette.data(),
                       work.data(), strength);
  std::vector<uint8_t> rows;
  for (int32_t y = 0; y < height; ++y) {
    for (size_t x = width; x < stride; ++x)
      EXPECT_EQ(out[y * stride + x], kUntouched);
    rows.insert(rows.end(), out.begin() + y * stride, out.begin() + y * stride + width);
  }
  return {rows, palette};
}

std::vector<float> everyGray() {
  std::vector<float> levels(256);
  std::iota(levels.begin(), levels.end(), 0.0f);
  return levels;
}

TEST(LaplacianSharpening, KernelWithBorderRule) {
  // One pixel of 70 on 50. Every pixel the kernel reaches from it gets
  // 20 x weight / 4 added, also at the border where the weights of cells
  // outside the image drop out of both sums. With all 256 levels the
  // integral results pass through the diffusion unchanged.
  std::vector<uint8_t> src(25, 50);
  src[12] = 70;
  const SharpenResult result = sharpen(src, 5, 5, everyGray(), 4.0);
  const std::vector<uint8_t> expected{50, 50, 45, 50, 50, 50, 45, 40, 45, 50, 45, 40, 150,
                                      40, 45, 50, 45, 40, 45, 50, 50, 50, 45, 50, 50};
  EXPECT_EQ(result.out, expected);
  EXPECT_EQ(result.palette[0], 255);
  EXPECT_EQ(result.palette[200], 55);
}

TEST(LaplacianSharpening, WeakStrengthAndUniformImagesAreNotSharpened) {
  std::vector<uint8_t> src(35);
  for (size_t i = 0; i < src.size(); ++i)
    src[i] = static_cast<uint8_t>(i * 7);
  EXPECT_EQ(sharpen(src, 7, 5, everyGray(), 0.05).out, src);
  EXPECT_EQ(sharpen(src, 7, 5, everyGray(), -0.1).out, src);
  const std::vector<uint8_t> flat(35, 131);
  EXPECT_EQ(sharpen(flat, 7, 5, everyGray(), 14.0).out, flat);
}

TEST(LaplacianSharpening, SerpentineDiffusionToTwoLevels) {
  // Worked by hand with single-precision errors: row 0 runs left to right,
  // row 1 right to left; pixels short of neighbours split their error equally.
  // Left to right in row 1 would give 255, 0, 255; the standard weights
  // without the equal split would give 0, 255, 255.
  const std::vector<uint8_t> src{20, 230, 128, 128, 160, 230};
  const SharpenResult result = sharpen(src, 3, 2, {0.0f, 1.0f}, 0.05);
  EXPECT_EQ(result.palette, (std::vector<uint8_t>{255, 0}));
  EXPECT_EQ(result.out, (std::vector<uint8_t>{0, 255, 0, 255, 255, 255}));
}

TEST(LaplacianSharpening, EqualEndLevelsStayDefined) {
  // The palette divides by zero; every pixel still gets a defined byte.
  const SharpenResult result = sharpen(std::vector<uint8_t>(6, 9), 3, 2, {0.5f, 0.5f}, 1.0);
  EXPECT_EQ(result.out, std::vector<uint8_t>(6, 0));
}

TEST(Clamp, ToByteRange) {
  EXPECT_EQ(clamp(-3), 0);
  EXPECT_EQ(clamp(300), 255);
  EXPECT_EQ(clamp(0), 0);
  EXPECT_EQ(clamp(255), 255);
  EXPECT_EQ(clamp(77), 77);
  EXPECT_EQ(clamp(INT32_MIN), 0);
}

ZVImage filledImage(uint32_t w, uint32_t h, std::array<uint8_t, 4> rgba, double scale = 1.0) {
  std::vector<uint8_t> bytes;
  for (uint32_t i = 0; i < w * h; ++i)
    bytes.insert(bytes.end(), rgba.begin(), rgba.end());
  return *ZVImage::fromRGBA(w, h, bytes, scale);
}

const uint8_t *pixelAt(const ZVImage &image, uint32_t x, uint32_t y) {
  return image.rgba().data() + (size_t{y} * image.pixelWidth() + x) * 4;
}

TEST(ImageToSharpen, UniformStaysBorderRingIsCopied) {
  const ZVImage flat = filledImage(6, 5, {90, 160, 30, 255});
  const auto same = ZVAlgorithmManager::imageToSharpen(flat);
  ASSERT_TRUE(same);
  EXPECT_TRUE(std::ranges::equal(same->rgba(), flat.rgba()));

  // A dark pixel on the border and one inside: the inside one is pushed
  // down and its neighbours up (saturated); the ring keeps its values.
  std::vector<uint8_t> bytes(flat.rgba().begin(), flat.rgba().end());
  auto set = [&](uint32_t x, uint32_t y, uint8_t v) {
    for (int c = 0; c < 3; ++c)
      bytes[(y * 6 + x) * 4 + c] = v;
  };
  set(0, 0, 10);
  set(2, 2, 100);
  const ZVImage spots = *ZVImage::fromRGBA(6, 5, bytes);
  const auto sharp = ZVBitmapManager::imageToSharpen(spots);
  ASSERT_TRUE(sharp);
  EXPECT_EQ(pixelAt(*sharp, 0, 0)[0], 10);
  EXPECT_EQ(pixelAt(*sharp, 5, 4)[1], 160);
  // (1, 1): 9 x 90 - (10 + 100 + 6 x 90) = 160; centre: 9 x 100 - 8 x 90 = 180.
  EXPECT_EQ(pixelAt(*sharp, 1, 1)[0], 160);
  EXPECT_EQ(pixelAt(*sharp, 2, 2)[0], 180);
  EXPECT_EQ(pixelAt(*sharp, 2, 2)[1], 0);   // 9 x 100 - 8 x 160 < 0
  EXPECT_EQ(pixelAt(*sharp, 2, 2)[2], 255); // 9 x 100 - 8 x 30 > 255
  EXPECT_EQ(pixelAt(*sharp, 2, 2)[3], 255);
}

TEST(ImageToSharpen, DrawsAtPointSizeWithScaleOne) {
  const auto sharp = ZVAlgorithmManager::imageToSharpen(filledImage(7, 4, {1, 2, 3, 255}, 2.0));
  ASSERT_TRUE(sharp);
  EXPECT_EQ(sharp->pixelWidth(), 3u);
  EXPECT_EQ(sharp->pixelHeight(), 2u);
  EXPECT_EQ(sharp->scale(), 1.0);
  EXPECT_FALSE(ZVAlgorithmManager::imageToSharpen(filledImage(1, 1, {0, 0, 0, 255}, 2.0)));
}

TEST(ImageToTransparent, OnlyOpaquePureWhite) {
  const std::vector<uint8_t> bytes{255, 255, 255, 255, 254, 255, 255, 255,
                                   255, 255, 255, 128, 0,   0,   0,   255};
  const auto result = ZVBitmapManager::imageToTransparent(*ZVImage::fromRGBA(2, 2, bytes));
  ASSERT_TRUE(result);
  EXPECT_EQ(pixelAt(*result, 0, 0)[3], 0);
  const std::vector<uint8_t> kept(result->rgba().begin() + 4, result->rgba().end());
  EXPECT_EQ(kept, std::vector<uint8_t>(bytes.begin() + 4, bytes.end()));
}

} // namespace
