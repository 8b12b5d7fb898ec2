// Print data converted while the file is decoded must equal the print data
// of the decoded image, for every mode and output form.
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImage.h>

#include "encoded_images_support.h"
#include "imaging/streamed_conversion.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr uint8_t kGray = 0, kRGB = 2, kRGBA = 6;

// Unfiltered rows of noise, with a smooth ramp so that every mode has both
// dots and blanks.
ZVData noiseRows(uint32_t width, uint32_t height, uint32_t channels, bool translucent = false) {
  ZVData rows;
  uint32_t seed = width * 7919 + height;
  for (uint32_t y = 0; y < height; ++y) {
    rows.push_back(0);
    for (uint32_t x = 0; x < width; ++x)
      for (uint32_t c = 0; c < channels; ++c) {
        seed = seed * 1103515245u + 12345u;
        const uint32_t ramp = (x * 255) / width;
        const bool alpha = channels == 4 && c == 3;
        rows.push_back(static_cast<uint8_t>(alpha ? (translucent ? (seed >> 24) | 0x0F : 255)
                                                  : (ramp + (seed >> 26)) & 0xFF));
      }
  }
  return rows;
}

ZVData fileBytes(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  return ZVData((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::vector<std::pair<std::string, ZVData>> images() {
  std::vector<std::pair<std::string, ZVData>> files{
      {"RGB PNG 37 x 23", zvtest::pngFile(37, 23, 8, kRGB, noiseRows(37, 23, 3))},
      {"gray PNG 40 x 300", zvtest::pngFile(40, 300, 8, kGray, noiseRows(40, 300, 1))},
      {"opaque RGBA PNG 19 x 9", zvtest::pngFile(19, 9, 8, kRGBA, noiseRows(19, 9, 4))},
      {"translucent RGBA PNG 21 x 17",
       zvtest::pngFile(21, 17, 8, kRGBA, noiseRows(21, 17, 4, true))},
      {"JPEG 70 x 45", zvtest::jpegFile({.width = 70, .height = 45})},
      {"progressive gray JPEG 33 x 90",
       zvtest::jpegFile({.width = 33, .height = 90, .components = 1, .progressive = true})},
  };
  const std::filesystem::path astronaut = ZV_SAMPLE_PHOTO_DIR "/astronaut.png";
  if (std::filesystem::exists(astronaut)) files.emplace_back("astronaut", fileBytes(astronaut));
  return files;
}

TEST(StreamedConversion, MatchesTheDecodedImageInEveryModeAndForm) {
  const struct {
    int64_t compress;
    bool package;
  } forms[] = {{0, false}, {48, false}, {48, true}};
  for (const auto &[name, file] : images()) {
    const auto image = ZVImage::fromEncoded(file);
    ASSERT_TRUE(image) << name;
    for (const int64_t mode : {0, 1, 2})
      for (const auto &form : forms) {
        std::string error;
        const auto streamed =
            zv::detail::printDataOfEncoded(file, mode, form.compress, form.package, error);
        const auto whole = ZVBitmapManager::generateGenralDataWithImage(
            *image, false, mode, form.compress, form.package);
        ASSERT_TRUE(streamed && whole) << name << " " << error;
        EXPECT_EQ(*streamed, *whole) << name << ", mode " << mode << ", compress " << form.compress
                                     << ", package " << form.package;
      }
  }
}

TEST(StreamedConversion, DamagedFilesGiveAReasonAndNoData) {
  const ZVData png = zvtest::pngFile(64, 200, 8, kRGB, noiseRows(64, 200, 3));
  const ZVData jpeg = zvtest::jpegFile({.width = 64, .height = 200});
  ZVData cutJpeg(jpeg.begin(), jpeg.begin() + static_cast<long>(jpeg.size() * 2 / 3));
  cutJpeg.insert(cutJpeg.end(), {0xFF, 0xD9});
  ZVData badCrc = png;
  badCrc[png.size() / 2] ^= 0x55; // inside the IDAT data: the chunk's CRC fails
  const std::pair<const char *, ZVData> cases[] = {
      {"PNG cut in its rows", ZVData(png.begin(), png.begin() + static_cast<long>(png.size() / 2))},
      {"PNG with a damaged IDAT", badCrc},
      {"JPEG cut short, with EOI", cutJpeg},
      {"not an image", ZVData{'G', 'I', 'F', '8'}},
      {"empty", ZVData{}},
  };
  for (const auto &[name, file] : cases)
    for (const int64_t mode : {0, 1, 2}) {
      std::string error;
      EXPECT_FALSE(zv::detail::printDataOfEncoded(file, mode, 48, true, error)) << name;
      EXPECT_FALSE(error.empty()) << name;
    }
  std::string error;
  EXPECT_EQ(zv::detail::printDataOfEncoded(png, 3, 48, true, error), ZVData{});
}

} // namespace
