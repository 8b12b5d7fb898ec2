#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImagePreviewManager.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <tuple>
#include <vector>

namespace {

constexpr double kTwoTo64 = 18446744073709551616.0;

struct Paint {
  uint32_t x, y;
  std::array<uint8_t, 4> rgba;
};

ZVImage whiteWith(uint32_t w, uint32_t h, std::initializer_list<Paint> paints, double scale = 1) {
  std::vector<uint8_t> bytes(size_t{w} * h * 4, 255);
  for (const Paint &p : paints)
    std::copy(p.rgba.begin(), p.rgba.end(), bytes.begin() + (size_t{p.y} * w + p.x) * 4);
  return *ZVImage::fromRGBA(w, h, bytes, scale);
}

using Box = std::tuple<double, double, double, double>;
Box box(const ZVRect &rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

TEST(ContentBounds, SinglePixelAndNearWhite) {
  EXPECT_EQ(box(ZVBitmapManager::contentInImage(whiteWith(10, 12, {{3, 7, {0, 0, 0, 255}}}))),
            Box(3, 7, 1, 1));
  // Near-white counts; transparent pixels do not.
  const ZVImage image = whiteWith(10, 12,
                                  {{1, 9, {254, 255, 255, 255}},
                                   {8, 2, {255, 255, 255, 254}},
                                   {0, 0, {0, 0, 0, 0}},
                                   {9, 11, {30, 60, 90, 0}}});
  EXPECT_EQ(box(ZVImagePreviewManager::removeWhiteAreaData(image)), Box(1, 2, 8, 8));
}

TEST(ContentBounds, NoContentWrapsAroundInUnsigned64Bits) {
  // left = Wp - 1, right = 0: width = 2^64 - Wp + 2, as a double.
  const ZVRect rect = ZVImagePreviewManager::removeWhiteAreaData(whiteWith(9, 5, {}));
  EXPECT_EQ(box(rect), Box(8, 4, kTwoTo64 - 9 + 2, kTwoTo64 - 5 + 2));
  // Two pixels wide wraps to exactly 0, one pixel wide to 1.
  const ZVRect narrow = ZVImagePreviewManager::removeWhiteAreaData(whiteWith(2, 1, {}));
  EXPECT_EQ(box(narrow), Box(1, 0, 0, 1));
  std::vector<uint8_t> clear(16, 0);
  EXPECT_EQ(box(ZVImagePreviewManager::removeWhiteAreaData(*ZVImage::fromRGBA(2, 2, clear))),
            Box(1, 1, 0, 0));
}

TEST(ContentBounds, InPixelsOfTheScaledBitmap) {
  const ZVImage image =
      whiteWith(8, 6, {{5, 1, {10, 10, 10, 255}}, {6, 4, {10, 10, 10, 255}}}, 2.0);
  EXPECT_EQ(box(ZVBitmapManager::contentInImage(image)), Box(5, 1, 2, 4));
}

TEST(ContentBounds, PixelCallbackSeesPremultipliedBitmap) {
  const ZVImage image = whiteWith(3, 2, {{2, 1, {200, 100, 50, 128}}}, 3.0);
  std::vector<uint8_t> seen;
  uint32_t width = 0, height = 0;
  UIImageGetRGBAPixels(image, [&](const uint8_t *rgba, uint32_t w, uint32_t h) {
    seen.assign(rgba, rgba + size_t{w} * h * 4);
    width = w;
    height = h;
  });
  EXPECT_EQ(width, 3u);
  EXPECT_EQ(height, 2u);
  ASSERT_EQ(seen.size(), 24u);
  EXPECT_EQ((std::vector<uint8_t>(seen.begin() + 20, seen.end())),
            (std::vector<uint8_t>{100, 50, 25, 128}));
  UIImageGetRGBAPixels(image, {}); // an empty callback is skipped
}

} // namespace
