#include "framing/framing_support.h"

#include <zvprinter/ZVAlgorithmManager.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr int64_t kLzo = 48;

ZVData packed(const ZVData &raster, int32_t width, int32_t height) {
  return ZVAlgorithmManager::managerData(raster.data(), static_cast<int32_t>(raster.size()), width,
                                         height, kLzo, true);
}

struct Frames {
  std::vector<uint16_t> rows; // each frame's row count
  std::vector<size_t> sizes;  // each frame's decompressed size
  ZVData raster;              // the bands joined
};

// Splits print-data frames, checking the marker, the width field and the
// streams.
Frames unpack(std::span<const uint8_t> bytes, int32_t width) {
  Frames frames;
  while (!bytes.empty()) {
    const uint32_t length = bytes.size() >= 12 ? zv::test::readLE32(bytes, 8) : 0;
    const auto band =
        bytes.size() >= 12 && bytes.size() - 12 >= length
            ? zv::test::decompress(bytes.subspan(12, length), size_t{length} * 256 + 64)
            : std::nullopt;
    if (!band) {
      ADD_FAILURE() << "truncated frame or bad stream " << bytes.size() << " bytes before the end";
      break;
    }
    EXPECT_TRUE(std::ranges::equal(bytes.first(4), ZVData{0x1D, 0x76, 0x30, 0x30}));
    EXPECT_EQ(bytes[4] | bytes[5] << 8, static_cast<uint16_t>(width));
    frames.rows.push_back(static_cast<uint16_t>(bytes[6] | bytes[7] << 8));
    frames.sizes.push_back(band->size());
    frames.raster.insert(frames.raster.end(), band->begin(), band->end());
    bytes = bytes.subspan(12 + length);
  }
  return frames;
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
        Case{72, 40, {16, 16, 8}}, Case{200, 17, {16, 1}}, Case{10, 17, {17}}, Case{1, 1, {1}}}) {
    const ZVData raster = zv::test::randomBytes(size_t(c.width) * c.height, c.width);
    const Frames frames = unpack(packed(raster, c.width, c.height), c.width);
    EXPECT_EQ(frames.rows, c.rows) << c.width << "x" << c.height;
    EXPECT_EQ(frames.raster, raster);
    for (size_t i = 0; i < frames.sizes.size() && i < c.rows.size(); ++i)
      EXPECT_EQ(frames.sizes[i], size_t(c.width) * c.rows[i]);
  }
}

TEST(PrintData, BytesFollowTheLengthAndRowsFollowTheRowCount) {
  // 10 bytes x 40 rows claimed, but 250 or 700 bytes passed.
  for (const auto &[size, rows, sizes] :
       {std::tuple{250, std::vector<uint16_t>{30}, std::vector<size_t>{250}},
        {700, {30, 10, 0}, {300, 300, 100}}}) {
    const ZVData raster = zv::test::randomBytes(size, 1);
    const Frames frames = unpack(packed(raster, 10, 40), 10);
    EXPECT_EQ(frames.rows, rows);
    EXPECT_EQ(frames.sizes, sizes);
    EXPECT_EQ(frames.raster, raster);
  }
}

TEST(PrintData, SixteenBitFieldsWrap) {
  // 70000 rows of one byte: the row counter wraps at 65536, so the last
  // frame still claims 30 rows although it carries 10 bytes.
  const ZVData raster = zv::test::randomBytes(70000, 3);
  const Frames frames = unpack(packed(raster, 1, 70000), 1);
  ASSERT_EQ(frames.rows.size(), 2334u);
  EXPECT_EQ(frames.rows.back(), 30);
  EXPECT_EQ(frames.sizes.back(), 10u);
  EXPECT_EQ(frames.raster, raster);
  // A band of 65535 x 16 bytes holds this whole raster; so does one whose
  // size overflows 32 bits.
  for (const int32_t width : {65535, 1 << 28, INT32_MAX}) {
    const Frames wide = unpack(packed(raster, width, 20), width);
    EXPECT_EQ(wide.rows, (std::vector<uint16_t>{16})) << width;
    EXPECT_EQ(wide.raster, raster);
  }
}

TEST(PrintData, CompressModesSlicesAndEmptyInputs) {
  const ZVData raster = zv::test::noiseWithRuns(48 * 100, 5);
  const auto length = static_cast<int32_t>(raster.size());
  using M = ZVAlgorithmManager;
  const auto slices = M::generateBitmapSlices(raster.data(), length, 48, 100);
  ZVData joined;
  for (size_t i = 0; i < slices.size(); ++i) {
    EXPECT_EQ(slices[i].serial, i);
    joined.insert(joined.end(), slices[i].data.begin(), slices[i].data.end());
  }
  EXPECT_EQ(slices.size(), 4u);
  EXPECT_EQ(joined, packed(raster, 48, 100));
  EXPECT_EQ(zv::test::decompress(M::managerData(raster.data(), length, 48, 100, kLzo, false),
                                 raster.size() + 1),
            raster);
  for (const bool package : {false, true}) {
    EXPECT_EQ(M::managerData(raster.data(), length, 48, 100, 0, package), raster);
    for (const int64_t mode : {1, -48})
      EXPECT_TRUE(M::managerData(raster.data(), length, 48, 100, mode, package).empty());
    for (const int64_t mode : {int64_t{0}, kLzo}) {
      EXPECT_TRUE(M::managerData(raster.data(), 0, 48, 100, mode, package).empty());
      EXPECT_TRUE(M::managerData(raster.data(), -5, 48, 100, mode, package).empty());
      EXPECT_TRUE(M::managerData(nullptr, length, 48, 100, mode, package).empty());
    }
  }
  // Frames need a band of at least one byte; anything else gives nothing.
  for (const auto &[width, height] : {std::pair{0, 64}, {-3, 64}, {48, 0}, {48, -1}, {-48, -64}}) {
    EXPECT_TRUE(M::managerData(raster.data(), length, width, height, kLzo, true).empty());
    EXPECT_TRUE(M::generateBitmapSlices(raster.data(), length, width, height).empty());
  }
  EXPECT_TRUE(M::generateBitmapSlices(nullptr, length, 48, 64).empty());
}

} // namespace
