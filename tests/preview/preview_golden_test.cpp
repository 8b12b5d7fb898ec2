// Each preview mode on a crop of a real photo, against PNGs made once by this
// code, checked by eye and against an independent model, and kept in
// golden/. A mismatch writes the actual preview to the temporary folder.

#include <zvprinter/ZVBitmapManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace {

// 384 x 160 pixels of the astronaut photo from (64, 40): the face and the
// flag. 384 wide also selects the gray preview's first level table.
std::optional<ZVImage> astronautCrop() {
  const auto photo = ZVImage::fromFile(std::string(ZV_SAMPLE_PHOTO_DIR) + "/astronaut.png");
  if (!photo) return std::nullopt;
  constexpr uint32_t kX = 64, kY = 40, kWidth = 384, kHeight = 160;
  ZVData crop;
  for (uint32_t y = kY; y < kY + kHeight; ++y) {
    const auto row = photo->rgba().subspan((size_t{y} * photo->pixelWidth() + kX) * 4, kWidth * 4);
    crop.insert(crop.end(), row.begin(), row.end());
  }
  return ZVImage::fromRGBA(kWidth, kHeight, crop);
}

void expectGolden(int64_t mode, double gamma, const std::string &name) {
  const auto crop = astronautCrop();
  if (!crop) GTEST_SKIP() << "astronaut.png not found in " << ZV_SAMPLE_PHOTO_DIR;
  const auto preview = ZVBitmapManager::generateRenderingWithImage(*crop, mode, gamma, false);
  ASSERT_TRUE(preview);
  const auto golden = ZVImage::fromFile(std::string(ZV_TEST_DIR) + "/preview/golden/" + name);
  const bool same = golden && golden->pixelWidth() == preview->pixelWidth() &&
                    golden->pixelHeight() == preview->pixelHeight() &&
                    std::ranges::equal(golden->rgba(), preview->rgba());
  if (!same) {
    const auto actual = std::filesystem::temp_directory_path() / ("actual_" + name);
    preview->writePNG(actual.string());
    ADD_FAILURE() << name << (golden ? " differs" : " is missing")
                  << "; the preview was written to " << actual;
  }
}

TEST(PreviewGolden, Threshold) {
  expectGolden(0, 1.0, "astronaut_threshold.png");
}
TEST(PreviewGolden, ErrorDiffusion) {
  expectGolden(1, 1.0, "astronaut_dithering.png");
}
TEST(PreviewGolden, GrayScaleWithGamma) {
  expectGolden(2, 1.6, "astronaut_grayscale.png");
}

} // namespace
