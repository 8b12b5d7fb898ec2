// Whole print data (raw rasters and framed LZO) of synthetic images at the
// frame and band boundaries and of real photos, against files made once by
// this code and checked against an independent model of the conversions.
// ZV_UPDATE_GOLDEN=1 rewrites the files.

#include <zvprinter/ZVBitmapManager.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

struct Case {
  int64_t mode;
  bool watermark;
  int64_t compress; // 0 raw raster, 48 framed LZO
};

// Cases are stored one after another, each as a 32-bit little-endian length
// and the bytes.
void expectGolden(const std::string &name, const ZVImage &image, const std::vector<Case> &cases) {
  ZVData actual;
  std::vector<std::string> labels;
  for (const Case &c : cases) {
    const ZVData data =
        ZVBitmapManager::generateGenralDataWithImage(image, c.watermark, c.mode, c.compress, true)
            .value_or(ZVData{});
    for (int shift = 0; shift < 32; shift += 8)
      actual.push_back(static_cast<uint8_t>(data.size() >> shift));
    actual.insert(actual.end(), data.begin(), data.end());
    labels.push_back(name + " mode " + std::to_string(c.mode) + " compress " +
                     std::to_string(c.compress) + (c.watermark ? " watermark" : ""));
  }
  const std::string path = std::string(ZV_TEST_DIR) + "/imaging/golden/" + name + ".bin";
  if (std::getenv("ZV_UPDATE_GOLDEN")) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(actual.data()), std::streamsize(actual.size()));
  }
  std::ifstream in(path, std::ios::binary);
  const ZVData golden{std::istreambuf_iterator<char>(in), {}};
  ASSERT_FALSE(golden.empty()) << path << " is missing";
  // Name the first case that differs.
  size_t at = 0;
  for (const std::string &label : labels) {
    ASSERT_LE(at + 4, golden.size()) << label << ": the golden file ends early";
    const size_t length =
        golden[at] | golden[at + 1] << 8 | golden[at + 2] << 16 | size_t{golden[at + 3]} << 24;
    ASSERT_LE(at + 4 + length, actual.size()) << label << ": shorter than the golden data";
    ASSERT_TRUE(std::equal(golden.begin() + long(at), golden.begin() + long(at + 4 + length),
                           actual.begin() + long(at)))
        << label << " differs from " << path;
    at += 4 + length;
  }
  EXPECT_EQ(at, actual.size());
  EXPECT_EQ(at, golden.size());
}

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (const int64_t mode : {0, 1, 2})
    for (const bool watermark : {false, true})
      for (const int64_t compress : {0, 48})
        cases.push_back({mode, watermark, compress});
  return cases;
}

// Colour ramps with every third pixel partly or wholly transparent.
ZVImage gradient(uint32_t width, uint32_t height) {
  ZVData rgba;
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      rgba.insert(rgba.end(), {uint8_t(x * 7 + y * 3), uint8_t(x * 5), uint8_t(y * 11),
                               uint8_t((x + y) % 3 == 0 ? (x * 13 + y * 29) % 256 : 255)});
  return *ZVImage::fromRGBA(width, height, rgba);
}

// 16/17 rows, 48/49 bytes per row and 499/500 points wide: where frames are
// cut differently and the watermark band grows.
TEST(PrintDataGolden, GradientsAtTheFrameAndBandBoundaries) {
  for (const auto &[width, height] :
       {std::pair{384u, 17u}, {385u, 17u}, {392u, 16u}, {499u, 3u}, {500u, 3u}, {13u, 61u}})
    expectGolden("gradient_" + std::to_string(width) + "x" + std::to_string(height),
                 gradient(width, height), allCases());
}

// Every gray on white: the print weighting truncates some exact integer sums
// one lower in double precision, and the threshold lands on such a level.
TEST(PrintDataGolden, GraysOnWhite) {
  ZVData rgba;
  for (uint32_t y = 0; y < 4; ++y)
    for (uint32_t x = 0; x < 512; ++x) {
      const uint8_t v = (x % 2 == 0 || y % 2 == 1) ? uint8_t(x / 2) : 255;
      rgba.insert(rgba.end(), {v, v, v, 255});
    }
  expectGolden("grays_on_white", *ZVImage::fromRGBA(512, 4, rgba), {{0, false, 0}, {2, false, 0}});
}

std::optional<ZVImage> photo(const std::string &name) {
  return ZVImage::fromFile(std::string(ZV_SAMPLE_PHOTO_DIR) + "/" + name);
}

TEST(PrintDataGolden, PhotoCrops) {
  for (const std::string name : {"coffee.png", "camera.png", "logo.png"}) {
    const auto image = photo(name);
    if (!image) GTEST_SKIP() << name << " not found in " << ZV_SAMPLE_PHOTO_DIR;
    // 200 x 96 from the middle.
    const uint32_t x0 = (image->pixelWidth() - 200) / 2, y0 = (image->pixelHeight() - 96) / 2;
    ZVData crop;
    for (uint32_t y = y0; y < y0 + 96; ++y) {
      const auto row = image->rgba().subspan((size_t{y} * image->pixelWidth() + x0) * 4, 200 * 4);
      crop.insert(crop.end(), row.begin(), row.end());
    }
    expectGolden(name.substr(0, name.find('.')) + "_crop", *ZVImage::fromRGBA(200, 96, crop),
                 allCases());
  }
}

// Otsu's class-size products pass 32 bits only on large images.
TEST(PrintDataGolden, WholePhotoThreshold) {
  const auto image = photo("astronaut.png");
  if (!image) GTEST_SKIP() << "astronaut.png not found in " << ZV_SAMPLE_PHOTO_DIR;
  expectGolden("astronaut", *image, {{0, false, 48}});
}

} // namespace
