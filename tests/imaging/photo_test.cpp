// Whole conversions of real photos against the literal transcriptions.
#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>

#include "reference.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

std::optional<ZVImage> samplePhoto(const std::string &name) {
  const std::string path = std::string(ZV_SAMPLE_PHOTO_DIR) + "/" + name;
  if (!std::filesystem::exists(path)) return std::nullopt;
  return ZVImage::fromFile(path);
}

std::vector<uint8_t> inverted(std::vector<uint8_t> bytes) {
  for (auto &b : bytes)
    b = static_cast<uint8_t>(~b);
  return bytes;
}

class Photo : public testing::TestWithParam<const char *> {};

TEST_P(Photo, EveryModeMatchesTheTranscription) {
  const auto photo = samplePhoto(GetParam());
  if (!photo) GTEST_SKIP() << "sample photos not installed";
  const auto w = int32_t(photo->pixelWidth()), h = int32_t(photo->pixelHeight());

  const auto gray = reference::histogramGrayLevels(*photo);
  EXPECT_EQ(ZVAlgorithmManager::graylevel256Datas(*photo), gray);
  const uint32_t otsu = reference::otsu(gray, w, h);
  const auto threshold = ZVBitmapManager::generateBitmapDataWithImage(*photo, false, 0);
  ASSERT_TRUE(threshold);
  EXPECT_EQ(*threshold, inverted(reference::thresholdRaster(*photo, otsu))) << "T=" << otsu;

  const auto dither = ZVBitmapManager::generateBitmapDataWithImage(*photo, false, 1);
  ASSERT_TRUE(dither);
  EXPECT_EQ(*dither, inverted(reference::ditherRaster(*photo)));

  const auto px = reference::premultiplied(*photo);
  std::vector<uint8_t> reversed(size_t(w) * h);
  for (size_t i = 0; i < reversed.size(); ++i)
    reversed[i] = uint8_t(255 - reference::printGray(px[4 * i], px[4 * i + 1], px[4 * i + 2]));
  EXPECT_EQ(ZVAlgorithmManager::generateCluserGaryDatas(*photo, true), reversed);
  const auto cluster = ZVBitmapManager::generateBitmapDataWithImage(*photo, false, 2);
  ASSERT_TRUE(cluster);
  EXPECT_EQ(*cluster, reference::clusterRaster(reversed, uint32_t(w), h));
}

INSTANTIATE_TEST_SUITE_P(SamplePhotos, Photo,
                         testing::Values("astronaut.png", "coffee.png", "camera.png",
                                         "chelsea.png"));

TEST(Photo, WatermarkedRawDataHasTheBandsRows) {
  const auto photo = samplePhoto("coffee.png"); // 600 wide: a 24-row band
  if (!photo) GTEST_SKIP() << "sample photos not installed";
  const size_t rowBytes = (photo->pixelWidth() + 7) / 8;
  for (const int64_t mode : {0, 1, 2}) {
    const auto data = ZVBitmapManager::generateBitmapDataWithImage(*photo, true, mode);
    ASSERT_TRUE(data);
    ASSERT_EQ(data->size(), rowBytes * (photo->pixelHeight() + 24));
    // White prints no dots: FF in inverted data, 00 in the clustered mode's.
    const uint8_t blank = mode == 2 ? 0x00 : 0xFF;
    EXPECT_TRUE(std::all_of(data->begin(), data->begin() + rowBytes * 24,
                            [&](uint8_t b) { return b == blank; }));
  }
}

} // namespace
