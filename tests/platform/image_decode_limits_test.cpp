// Decoding hostile and unusual files: forged sizes, data cut short, 16-bit
// samples.
#include <zvprinter/ZVImage.h>

#include "encoded_images_support.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr uint8_t kGray = 0, kRGB = 2, kRGBA = 6;

ZVData cutAfter(const ZVData &file, size_t length, bool endWithEOI) {
  ZVData out(file.begin(), file.begin() + static_cast<long>(length));
  if (endWithEOI) out.insert(out.end(), {0xFF, 0xD9});
  return out;
}

// Byte offset of the @p n-th SOS marker (0-based).
size_t nthScan(const ZVData &jpeg, int n) {
  for (size_t at = 0; at + 1 < jpeg.size(); ++at)
    if (jpeg[at] == 0xFF && jpeg[at + 1] == 0xDA && n-- == 0) return at;
  return jpeg.size();
}

TEST(PngDecoding, SixteenBitSamplesReadAsTheSameEightBitEncoding) {
  // 16-bit v * 257 is the 8-bit value v written with 16 bits; no gAMA chunk.
  const std::vector<uint8_t> values{0, 1, 64, 128, 200, 255};
  ZVData grayRow{0}, rgbaRow{0};
  for (const uint8_t v : values) {
    grayRow.insert(grayRow.end(), {v, v});
    rgbaRow.insert(rgbaRow.end(), {v, v, 255, 255, 0, 0, v, v});
  }
  const auto width = static_cast<uint32_t>(values.size());
  const auto gray = ZVImage::fromEncoded(zvtest::pngFile(width, 1, 16, kGray, grayRow));
  const auto rgba = ZVImage::fromEncoded(zvtest::pngFile(width, 1, 16, kRGBA, rgbaRow));
  ASSERT_TRUE(gray && rgba);
  for (size_t i = 0; i < values.size(); ++i) {
    const std::vector<uint8_t> expectGray{values[i], values[i], values[i], 255};
    const std::vector<uint8_t> expectRGBA{values[i], 255, 0, values[i]};
    EXPECT_TRUE(std::ranges::equal(gray->rgba().subspan(i * 4, 4), expectGray)) << int(values[i]);
    EXPECT_TRUE(std::ranges::equal(rgba->rgba().subspan(i * 4, 4), expectRGBA)) << int(values[i]);
  }
}

TEST(JpegDecoding, RefusesDataCutShortEvenWhenItEndsWithEOI) {
  const ZVData baseline = zvtest::jpegFile({});
  const ZVData gray = zvtest::jpegFile({.components = 1});
  const ZVData progressive = zvtest::jpegFile({.progressive = true});
  for (const ZVData &whole : {baseline, gray, progressive})
    ASSERT_TRUE(ZVImage::fromEncoded(whole)) << "the uncut file must decode";

  const size_t baselineScan = zvtest::jpegScanStart(baseline);
  const size_t middle = baselineScan + (baseline.size() - baselineScan) / 2;
  const size_t grayMiddle = (zvtest::jpegScanStart(gray) + gray.size()) / 2;
  const size_t progressiveScan = zvtest::jpegScanStart(progressive);
  const struct {
    const char *name;
    ZVData file;
  } cases[] = {
      {"colour, half the scan, EOI", cutAfter(baseline, middle, true)},
      {"colour, half the scan", cutAfter(baseline, middle, false)},
      {"gray, half the scan, EOI", cutAfter(gray, grayMiddle, true)},
      {"progressive, within the DC scan, EOI", cutAfter(progressive, progressiveScan + 20, true)},
      {"progressive, after the DC scan, EOI", cutAfter(progressive, nthScan(progressive, 1), true)},
      {"progressive, before the last AC scan, EOI",
       cutAfter(progressive, nthScan(progressive, 4), true)},
      {"arithmetic coding", zvtest::jpegFile({.arithmetic = true})},
  };
  for (const auto &[name, file] : cases) {
    std::string error;
    EXPECT_FALSE(ZVImage::fromEncoded(file, &error)) << name;
    EXPECT_FALSE(error.empty()) << name;
  }
}

// Files of a few hundred bytes whose headers claim hundreds of megabytes of
// pixels.
std::vector<std::pair<std::string, ZVData>> forgedSizes() {
  const ZVData fewRows(3 * (1 + 30000), 0);
  ZVData gray = zvtest::withJpegSize(zvtest::jpegFile({.components = 1}), 65000, 1538);
  gray = cutAfter(gray, std::min<size_t>(gray.size() - 2, 600), true);
  ZVData colour = zvtest::withJpegSize(zvtest::jpegFile({}), 20000, 5000);
  colour = cutAfter(colour, colour.size() - 2, true);
  ZVData progressive = zvtest::withJpegSize(zvtest::jpegFile({.progressive = true}), 10000, 10000);
  return {{"PNG 10000 x 10000 RGB, one short IDAT",
           zvtest::pngFile(10000, 10000, 8, kRGB, std::span(fewRows).first(20))},
          {"PNG 10000 x 10000 RGBA, three rows", zvtest::pngFile(10000, 10000, 8, kRGBA, fewRows)},
          {"PNG 100000 x 1000 1-bit gray, no rows", zvtest::pngFile(100000, 1000, 1, kGray, {})},
          {"gray JPEG 65000 x 1538", gray},
          {"colour JPEG 20000 x 5000", colour},
          {"progressive JPEG 10000 x 10000", progressive}};
}

// The address space this process uses now, from /proc/self/statm (pages).
rlim_t addressSpaceInUse() {
  std::ifstream statm("/proc/self/statm");
  rlim_t pages = 0;
  statm >> pages;
  return pages * 4096;
}

// Decodes every file under an address-space limit of 32 MB more than the
// process uses now, where the forged headers alone would need 100 MB to
// 400 MB of pixels; exits 0 when all were refused with a reason.
[[noreturn]] void decodeUnderLimit(const std::vector<std::pair<std::string, ZVData>> &files) {
  const rlim_t limit = addressSpaceInUse() + (rlim_t{32} << 20);
  const rlimit address{limit, limit};
  if (setrlimit(RLIMIT_AS, &address) != 0) std::exit(2);
  int accepted = 0;
  for (const auto &[name, file] : files) {
    std::string error;
    if (ZVImage::fromEncoded(file, &error) || error.empty()) {
      std::fprintf(stderr, "accepted: %s\n", name.c_str());
      ++accepted;
    }
  }
  std::exit(accepted == 0 ? 0 : 1);
}

TEST(ImageDecoding, ForgedSizesAreRefusedWithinAFewMegabytes) {
  const auto files = forgedSizes();
  // In a child process, so the limit stays there.
  EXPECT_EXIT(decodeUnderLimit(files), ::testing::ExitedWithCode(0), "");
}

} // namespace
