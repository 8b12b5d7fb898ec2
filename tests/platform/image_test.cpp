#include <zvprinter/ZVImage.h>

#include "platform/canvas.h"
#include "platform/image_codec.h"

#include <gtest/gtest.h>

#include <array>

namespace {

ZVImage makeImage(uint32_t w, uint32_t h, std::initializer_list<uint8_t> rgba, double scale = 1) {
  auto image = ZVImage::fromRGBA(w, h, std::vector<uint8_t>(rgba), scale);
  EXPECT_TRUE(image.has_value());
  return *image;
}

TEST(ZVImage, FromRGBARejectsMismatchedOrEmptyInput) {
  const std::vector<uint8_t> four(4, 0);
  EXPECT_FALSE(ZVImage::fromRGBA(0, 1, std::span<const uint8_t>{}));
  EXPECT_FALSE(ZVImage::fromRGBA(2, 1, four));
  EXPECT_FALSE(ZVImage::fromRGBA(2, 1, std::vector<uint8_t>(4)));
  EXPECT_TRUE(ZVImage::fromRGBA(1, 1, std::vector<uint8_t>(4)));
  EXPECT_FALSE(ZVImage::fromRGBA(1, 1, four, 0.0));
  EXPECT_DOUBLE_EQ(ZVImage::fromRGBA(4, 2, std::vector<uint8_t>(32), 2.0)->size().height, 1.0);
}

TEST(ZVImage, PNGRoundTripKeepsStraightRGBA) {
  const ZVImage image = makeImage(2, 2, {255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0, 9, 8, 7, 6});
  const ZVData png = image.encodePNG();
  ASSERT_FALSE(png.empty());
  std::string error;
  auto decoded = ZVImage::fromEncoded(png, &error);
  ASSERT_TRUE(decoded) << error;
  EXPECT_EQ(decoded->pixelHeight(), 2u);
  EXPECT_TRUE(std::ranges::equal(decoded->rgba(), image.rgba()));
}

TEST(ZVImage, RejectsCorruptTruncatedForeignAndAbsurdData) {
  const ZVData png = makeImage(1, 1, {1, 2, 3, 255}).encodePNG();
  ZVData huge = png; // IHDR claims 100000 x 100000: refused before allocating
  for (int at : {16, 20})
    std::ranges::copy(std::array<uint8_t, 4>{0, 0x01, 0x86, 0xA0}, huge.begin() + at);
  const std::vector<std::pair<ZVData, std::string>> cases{
      {ZVData(png.begin(), png.begin() + static_cast<long>(png.size() / 2)), ""},
      {huge, ""},
      {ZVData{'G', 'I', 'F', '8', '9', 'a'}, "not a PNG or JPEG image"},
      {ZVData{0xFF, 0xD8, 0xFF, 0xE0, 0, 0}, "JPEG"}};
  for (const auto &[data, message] : cases) {
    std::string error;
    EXPECT_FALSE(ZVImage::fromEncoded(data, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_NE(error.find(message), std::string::npos) << error;
  }
  std::string error;
  EXPECT_FALSE(ZVImage::fromFile("/nonexistent/file.png", &error));
  EXPECT_NE(error.find("cannot open"), std::string::npos);
}

TEST(Canvas, DrawingPremultipliesResamplesAndComesBackAsAnImage) {
  const ZVImage image = makeImage(2, 1, {200, 100, 50, 128, 10, 20, 30, 255});
  auto canvas = zv::detail::drawnCanvas(image, 2, 1);
  ASSERT_TRUE(canvas);
  EXPECT_EQ(canvas->pixels, (std::vector<uint8_t>{100, 50, 25, 128, 10, 20, 30, 255}));

  auto stretched = zv::detail::drawnCanvas(makeImage(1, 1, {10, 20, 30, 255}), 3, 2);
  ASSERT_TRUE(stretched);
  for (size_t i = 0; i < stretched->pixels.size(); i += 4)
    EXPECT_EQ(stretched->pixels[i + 1], 20);
  EXPECT_FALSE(zv::detail::makeCanvas(0, 5));

  // One black pixel drawn into the middle of a white column.
  canvas = zv::detail::makeCanvas(1, 3);
  ASSERT_TRUE(canvas);
  zv::detail::fillCanvas(*canvas, 255, 255, 255, 255);
  zv::detail::drawImage(*canvas, makeImage(1, 1, {0, 0, 0, 255}), 0, 1, 1, 1);
  auto drawn = zv::detail::imageFromCanvas(*canvas);
  ASSERT_TRUE(drawn);
  const std::vector<uint8_t> expected{255, 255, 255, 255, 0, 0, 0, 255, 255, 255, 255, 255};
  EXPECT_TRUE(std::ranges::equal(drawn->rgba(), expected));
}

} // namespace
