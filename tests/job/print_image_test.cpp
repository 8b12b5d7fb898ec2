#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVPrintImage.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

ZVImage filled(uint32_t width, uint32_t height, std::array<uint8_t, 4> rgba, double scale = 1.0) {
  ZVData bytes(size_t{width} * height * 4);
  for (size_t i = 0; i < bytes.size(); i += 4)
    for (size_t c = 0; c < 4; ++c)
      bytes[i + c] = rgba[c];
  return *ZVImage::fromRGBA(width, height, std::move(bytes), scale);
}

// Columns 0..width-1 of row 0 of an inverted raw raster that print a dot.
std::vector<bool> dotsInFirstRow(const ZVData &raster, uint32_t width) {
  std::vector<bool> dots(width);
  for (uint32_t x = 0; x < width; ++x)
    dots[x] = (raster[x / 8] & (0x80 >> (x % 8))) == 0;
  return dots;
}

bool everyPixelOpaque(const ZVImage &image) {
  for (size_t i = 3; i < image.rgba().size(); i += 4)
    if (image.rgba()[i] != 255) return false;
  return true;
}

TEST(PrintImage, NearlyOpaqueDarkPicturePrintsDarkInThresholdAndDiffusion) {
  // Left half black, right half white, both with alpha 254.
  ZVData bytes(size_t{64} * 4 * 4, 255);
  for (size_t i = 0; i < bytes.size(); i += 4) {
    if ((i / 4) % 64 < 32) bytes[i] = bytes[i + 1] = bytes[i + 2] = 0;
    bytes[i + 3] = 254;
  }
  const ZVImage picture = *ZVImage::fromRGBA(64, 4, std::move(bytes));
  std::vector<bool> leftHalf(64, false);
  for (size_t x = 0; x < 32; ++x)
    leftHalf[x] = true;
  for (int64_t mode : {0, 1}) {
    SCOPED_TRACE(mode);
    // The conversion alone takes alpha 254 for white: nothing prints.
    const auto unprepared = ZVBitmapManager::generateBitmapDataWithImage(picture, false, mode);
    ASSERT_TRUE(unprepared);
    EXPECT_EQ(dotsInFirstRow(*unprepared, 64), std::vector<bool>(64, false));

    const auto prepared = ZVPrintImage::prepare(picture);
    ASSERT_TRUE(prepared);
    EXPECT_TRUE(everyPixelOpaque(*prepared));
    const auto raster = ZVBitmapManager::generateBitmapDataWithImage(*prepared, false, mode);
    ASSERT_TRUE(raster);
    EXPECT_EQ(dotsInFirstRow(*raster, 64), leftHalf);
  }
}

TEST(PrintImage, TransparentAreasBecomePaperWhite) {
  const auto prepared = ZVPrintImage::prepare(filled(8, 1, {0, 0, 0, 0}));
  ASSERT_TRUE(prepared);
  for (uint8_t byte : prepared->rgba())
    EXPECT_EQ(byte, 255);
}

TEST(PrintImage, LastColumnsReachTheDiffusedRaster) {
  const ZVImage black = filled(100, 2, {0, 0, 0, 255});
  const auto unprepared = ZVBitmapManager::generateBitmapDataWithImage(black, false, 1);
  ASSERT_TRUE(unprepared);
  EXPECT_FALSE(dotsInFirstRow(*unprepared, 100)[99]); // width % 8 columns lost

  const auto prepared = ZVPrintImage::prepare(black);
  ASSERT_TRUE(prepared);
  EXPECT_EQ(prepared->pixelWidth(), 104u);
  const auto raster = ZVBitmapManager::generateBitmapDataWithImage(*prepared, false, 1);
  ASSERT_TRUE(raster);
  std::vector<bool> expected(104, true);
  for (uint32_t x = 100; x < 104; ++x)
    expected[x] = false; // the white padding
  EXPECT_EQ(dotsInFirstRow(*raster, 104), expected);
}

TEST(PrintImage, FitsThePrintWidth) {
  struct Case {
    uint32_t width, height;
    double scale;
    ZVPrintImageOptions options;
    uint32_t expectedWidth, expectedHeight;
  };
  const Case cases[] = {
      {1152, 801, 1.0, {}, 576, 401},          // halved, height rounded to nearest
      {4000, 3, 1.0, {}, 576, 1},              // never less than one row
      {200, 50, 1.0, {}, 200, 50},             // narrower: kept
      {200, 50, 1.0, {0, true}, 576, 144},     // narrower, enlarged on request
      {800, 400, 1.0, {384, false}, 384, 192}, // the printer's own width
      {380, 10, 1.0, {380, false}, 384, 10},   // odd head width: padded to bytes
      {600, 10, 1.0, {380, false}, 384, 6},    // reduced to 380 dots, then padded
      {400, 100, 2.0, {}, 400, 100},           // pixels count, not points
      {576, 7, 1.0, {}, 576, 7},               // exact fit
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.width << "x" << c.height << " into " << c.options.printWidthDots);
    const auto prepared =
        ZVPrintImage::prepare(filled(c.width, c.height, {10, 20, 30, 255}, c.scale), c.options);
    ASSERT_TRUE(prepared);
    EXPECT_EQ(prepared->pixelWidth(), c.expectedWidth);
    EXPECT_EQ(prepared->pixelHeight(), c.expectedHeight);
    EXPECT_EQ(prepared->scale(), 1.0);
    EXPECT_TRUE(everyPixelOpaque(*prepared));
  }
}

TEST(PrintImage, ReductionAveragesInsteadOfAliasing) {
  // Alternate black and white columns reduced 2.5 : 1. Bilinear sampling
  // weighs neighbour pairs unevenly (about 64 and 191 in turn); averaging
  // gives mid gray everywhere.
  const uint32_t width = 1440, height = 4;
  ZVData bytes(size_t{width} * height * 4, 255);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; x += 2)
      for (size_t c = 0; c < 3; ++c)
        bytes[(size_t{y} * width + x) * 4 + c] = 0;
  const auto prepared = ZVPrintImage::prepare(*ZVImage::fromRGBA(width, height, std::move(bytes)));
  ASSERT_TRUE(prepared);
  ASSERT_EQ(prepared->pixelWidth(), 576u);
  // Inner columns: the edge columns see the padded border.
  for (uint32_t x = 4; x < 572; ++x)
    EXPECT_NEAR(prepared->rgba()[(576 + x) * 4], 128, 24) << "column " << x;
}

TEST(PrintImage, ReadyPictureIsKeptAsItIs) {
  ZVData bytes(size_t{16} * 2 * 4);
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = i % 4 == 3 ? 255 : static_cast<uint8_t>(i * 7);
  const ZVImage picture = *ZVImage::fromRGBA(16, 2, bytes);
  const auto prepared = ZVPrintImage::prepare(picture);
  ASSERT_TRUE(prepared);
  EXPECT_EQ(ZVData(prepared->rgba().begin(), prepared->rgba().end()), bytes);
}

TEST(PrintImage, PrintDataIsFramedAtThePrintWidth) {
  const ZVImage photo = filled(1200, 40, {90, 90, 90, 255});
  for (int64_t mode : {0, 1, 2}) {
    const auto data = ZVPrintImage::printData(photo, mode);
    ASSERT_TRUE(data) << mode;
    ASSERT_GE(data->size(), 12u);
    EXPECT_EQ((ZVData{data->begin(), data->begin() + 6}), (ZVData{0x1D, 0x76, 0x30, 0x30, 72, 0}));
  }
  EXPECT_FALSE(ZVPrintImage::printData(photo, 3));
  EXPECT_FALSE(ZVPrintImage::printData(photo, -1));
}

TEST(PrintImage, EveryModePrintsThePictureNotItsNegative) {
  // Left half black, right half white, printed on the virtual printer.
  const uint32_t width = 64, height = 32;
  ZVData bytes(size_t{width} * height * 4, 255);
  for (size_t i = 0; i < bytes.size(); i += 4)
    if ((i / 4) % width < width / 2) bytes[i] = bytes[i + 1] = bytes[i + 2] = 0;
  const ZVImage picture = *ZVImage::fromRGBA(width, height, std::move(bytes));
  for (int64_t mode : {0, 1, 2}) {
    SCOPED_TRACE(mode);
    const auto data = ZVPrintImage::printData(picture, mode);
    ASSERT_TRUE(data);
    ZVVirtualPrinter printer(ZVVirtualPrinterConfig{});
    printer.receive(*data);
    printer.endOfInput();
    const auto paper = printer.paperImage();
    ASSERT_TRUE(paper);
    size_t darkLeft = 0, darkRight = 0;
    for (uint32_t y = 0; y < paper->pixelHeight(); ++y) {
      for (uint32_t x = 0; x < width; ++x) {
        const bool dot = paper->rgba()[(size_t{y} * paper->pixelWidth() + x) * 4] < 128;
        (x < width / 2 ? darkLeft : darkRight) += dot;
      }
    }
    EXPECT_EQ(darkLeft, size_t{width / 2} * height);
    EXPECT_EQ(darkRight, 0u);
  }
}

} // namespace
