#include "framing/framing_support.h"

#include <zvprinter/ZVAlgorithmManager.h>

#include <gtest/gtest.h>

#include <numeric>

namespace {

using zv::test::ParsedFrame;

constexpr int64_t kLzo = 48;

ZVData packed(const ZVData &raster, int32_t width, int32_t height) {
  return ZVAlgorithmManager::managerData(raster.data(), static_cast<int32_t>(raster.size()), width,
                                         height, kLzo, true);
}

std::vector<uint16_t> rowCounts(const std::vector<ParsedFrame> &frames) {
  std::vector<uint16_t> rows;
  for (const auto &frame : frames) {
    rows.push_back(frame.rows);
  }
  return rows;
}

// Parses the packed output, checks that every frame carries @p widthField
// and that the streams rebuild the raster; returns the bands' raw sizes.
std::vector<size_t> checkFrames(const std::vector<ParsedFrame> &frames, const ZVData &raster,
                                uint16_t widthField) {
  for (const auto &frame : frames) {
    EXPECT_EQ(frame.width, widthField);
  }
  std::vector<size_t> sizes;
  EXPECT_EQ(zv::test::unpackFrames(frames, &sizes), raster);
  return sizes;
}

TEST(PrintData, SmallRasterIsOneGoldenFrame) {
  const ZVData raster{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(packed(raster, 2, 3),
            (ZVData{0x1D, 0x76, 0x30, 0x30, 0x02, 0x00, 0x03, 0x00, 0x0A, 0x00, 0x00,
                    0x00, 0x17, 1,    2,    3,    4,    5,    6,    0x11, 0x00, 0x00}));
  // The width field keeps the low 16 bits: 65537 bytes per row is sent as 1.
  const ZVData ten{0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9};
  ZVData expected{0x1D, 0x76, 0x30, 0x30, 0x01, 0x00, 0x01, 0x00, 0x0E, 0x00, 0x00, 0x00, 0x1B};
  expected.insert(expected.end(), ten.begin(), ten.end());
  expected.insert(expected.end(), {0x11, 0x00, 0x00});
  EXPECT_EQ(packed(ten, 65537, 1), expected);
}

TEST(PrintData, RowsPerFrameFollowWidthAndHeight) {
  struct Case {
    int32_t width;
    int32_t height;
    std::vector<uint16_t> rows;
  };
  for (const Case &c :
       {Case{48, 100, {30, 30, 30, 10}}, Case{49, 100, {16, 16, 16, 16, 16, 16, 4}},
        Case{72, 40, {16, 16, 8}}, Case{200, 16, {16}}, Case{10, 17, {17}}, Case{1, 1, {1}}}) {
    const ZVData raster = zv::test::randomBytes(size_t(c.width) * c.height, c.width);
    const auto frames = zv::test::parseFrames(packed(raster, c.width, c.height));
    EXPECT_EQ(rowCounts(frames), c.rows) << c.width << "x" << c.height;
    const auto sizes = checkFrames(frames, raster, static_cast<uint16_t>(c.width));
    for (size_t i = 0; i < sizes.size(); ++i) {
      EXPECT_EQ(sizes[i], size_t(c.width) * c.rows[i]);
    }
  }
}

TEST(PrintData, BytesFollowTheLengthAndRowsFollowTheRowCount) {
  // 10 bytes x 40 rows claimed, but 250 or 700 bytes passed.
  const ZVData shorter = zv::test::randomBytes(250, 1);
  auto frames = zv::test::parseFrames(packed(shorter, 10, 40));
  EXPECT_EQ(rowCounts(frames), (std::vector<uint16_t>{30}));
  EXPECT_EQ(checkFrames(frames, shorter, 10), (std::vector<size_t>{250}));

  const ZVData longer = zv::test::randomBytes(700, 2);
  frames = zv::test::parseFrames(packed(longer, 10, 40));
  EXPECT_EQ(rowCounts(frames), (std::vector<uint16_t>{30, 10, 0}));
  EXPECT_EQ(checkFrames(frames, longer, 10), (std::vector<size_t>{300, 300, 100}));
}

TEST(PrintData, SixteenBitFieldsWrap) {
  // 70000 rows of one byte: the row counter wraps at 65536, so the last
  // frame still claims 30 rows although it carries 10 bytes.
  const ZVData raster = zv::test::randomBytes(70000, 3);
  const auto frames = zv::test::parseFrames(packed(raster, 1, 70000));
  ASSERT_EQ(frames.size(), 2334u);
  EXPECT_EQ(frames.back().rows, 30);
  const auto sizes = checkFrames(frames, raster, 1);
  EXPECT_EQ(sizes.back(), 10u);

  // A band of 65535 x 16 bytes holds this whole raster; so does one whose
  // size overflows 32 bits.
  for (const int32_t width : {65535, 1 << 28, INT32_MAX}) {
    const auto wide = zv::test::parseFrames(packed(raster, width, 20));
    EXPECT_EQ(rowCounts(wide), (std::vector<uint16_t>{16})) << width;
    checkFrames(wide, raster, static_cast<uint16_t>(width));
  }
}

TEST(PrintData, CompressModesAndEmptyInputs) {
  const ZVData raster = zv::test::ditheredPhotoRaster(48, 64);
  const auto length = static_cast<int32_t>(raster.size());
  using M = ZVAlgorithmManager;
  for (const bool package : {false, true}) {
    EXPECT_EQ(M::managerData(raster.data(), length, 48, 64, 0, package), raster);
    EXPECT_TRUE(M::managerData(raster.data(), length, 48, 64, 1, package).empty());
    EXPECT_TRUE(M::managerData(raster.data(), length, 48, 64, -48, package).empty());
    for (const int64_t mode : {int64_t{0}, kLzo}) {
      EXPECT_TRUE(M::managerData(raster.data(), 0, 48, 64, mode, package).empty());
      EXPECT_TRUE(M::managerData(raster.data(), -5, 48, 64, mode, package).empty());
      EXPECT_TRUE(M::managerData(nullptr, length, 48, 64, mode, package).empty());
    }
  }
  const ZVData stream = M::managerData(raster.data(), length, 48, 64, kLzo, false);
  EXPECT_EQ(zv::test::decompress(stream, raster.size() + 1), raster);

  // Frames need a band of at least one byte; anything else gives nothing.
  for (const auto &[width, height] : {std::pair{0, 64}, {-3, 64}, {48, 0}, {48, -1}, {-48, -64}}) {
    EXPECT_TRUE(M::managerData(raster.data(), length, width, height, kLzo, true).empty());
    EXPECT_TRUE(M::generateBitmapSlices(raster.data(), length, width, height).empty());
    EXPECT_EQ(M::managerData(raster.data(), length, width, height, 0, true), raster);
  }
  EXPECT_TRUE(M::generateBitmapSlices(nullptr, length, 48, 64).empty());
  EXPECT_TRUE(M::generateBitmapSlices(raster.data(), 0, 48, 64).empty());
}

TEST(BitmapSlices, AreTheFramesNumberedFromZero) {
  const ZVData raster = zv::test::ditheredPhotoRaster(48, 100);
  const auto slices = ZVAlgorithmManager::generateBitmapSlices(
      raster.data(), static_cast<int32_t>(raster.size()), 48, 100);
  ZVData joined;
  for (size_t i = 0; i < slices.size(); ++i) {
    EXPECT_EQ(slices[i].serial, i);
    joined.insert(joined.end(), slices[i].data.begin(), slices[i].data.end());
  }
  EXPECT_EQ(slices.size(), 4u);
  EXPECT_EQ(joined, packed(raster, 48, 100));
}

TEST(PrintData, PhotoAndWhiteRastersRoundTrip) {
  for (const int32_t width : {72, 300}) {
    for (const ZVData &raster :
         {zv::test::ditheredPhotoRaster(width, 777), ZVData(size_t(width) * 777, 0xFF)}) {
      const auto frames = zv::test::parseFrames(packed(raster, width, 777));
      const auto rows = rowCounts(frames);
      EXPECT_EQ(std::accumulate(rows.begin(), rows.end(), 0), 777);
      checkFrames(frames, raster, static_cast<uint16_t>(width));
    }
  }
}

} // namespace
