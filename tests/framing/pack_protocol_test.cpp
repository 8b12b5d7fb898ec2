#include "framing/framing_support.h"

#include <zvprinter/ZVPackProtocol.h>
#include <zvprinter/ZVPacker.h>

#include <gtest/gtest.h>

namespace {

const ZVData kHeader{0x1B, 0x1C, 0x26, 0x20, 0x56, 0x31, 0x20, 0x64, 0x6F,
                     0x20, 0x22, 0x6F, 0x74, 0x61, 0x22, 0x0D, 0x0A};

// Checks one frame's layout against the image and returns its chunk length.
uint32_t checkFrame(const ZVFirmwareSlice &slice, const ZVData &image) {
  const auto &frame = slice.data;
  EXPECT_GE(frame.size(), 29u);
  EXPECT_TRUE(std::equal(kHeader.begin(), kHeader.end(), frame.begin()));
  EXPECT_EQ(zv::test::readLE32(frame, 17), slice.offset);
  const uint32_t length = zv::test::readLE32(frame, 21);
  EXPECT_EQ(frame.size(), 29u + length);
  EXPECT_TRUE(std::equal(frame.begin() + 29, frame.end(), image.begin() + slice.offset));
  return length;
}

TEST(FirmwareFrames, CutsIntoChunksOf2016Bytes) {
  struct Case {
    size_t size;
    std::vector<uint32_t> offsets;
    std::vector<uint32_t> lengths;
  };
  for (const Case &c : {Case{2016, {0}, {2016}}, Case{2017, {0, 2016}, {2016, 1}},
                        Case{5000, {0, 2016, 4032}, {2016, 2016, 968}}}) {
    const ZVData image = zv::test::randomBytes(c.size, 7);
    const auto slices = ZVPackProtocol::generateFirmwarePacksWithData(image);
    ASSERT_EQ(slices.size(), c.offsets.size()) << c.size;
    for (size_t i = 0; i < slices.size(); ++i) {
      EXPECT_EQ(slices[i].offset, c.offsets[i]);
      EXPECT_EQ(checkFrame(slices[i], image), c.lengths[i]);
    }
  }
  EXPECT_TRUE(ZVPackProtocol::generateFirmwarePacksWithData({}).empty());
}

TEST(FirmwareFrames, CarryTheZeroStartChecksum) {
  const auto zero = ZVPackProtocol::generateFirmwarePacksWithData({0x00});
  ASSERT_EQ(zero.size(), 1u);
  ZVData expected = kHeader;
  expected.insert(expected.end(), {0, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
  EXPECT_EQ(zero[0].data, expected);

  const std::string text = "123456789";
  const auto check =
      ZVPackProtocol::generateFirmwarePacksWithData(ZVData(text.begin(), text.end()));
  ASSERT_EQ(check.size(), 1u);
  EXPECT_EQ(zv::test::readLE32(check[0].data, 25), 0xD202D277u);
}

TEST(LengthRecord, KeepsTheLow32Bits) {
  EXPECT_EQ(ZVPackProtocol::generateCompressDataLength(300), (ZVData{0x2C, 0x01, 0x00, 0x00}));
  EXPECT_EQ(ZVPackProtocol::generateCompressDataLength((int64_t{1} << 32) + 5),
            (ZVData{0x05, 0x00, 0x00, 0x00}));
  EXPECT_EQ(ZVPackProtocol::generateCompressDataLength(-1), (ZVData{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(Packer, SharedInstanceStartsEmptyAndKeepsWhatTheApplicationSets) {
  ZVPacker &packer = ZVPacker::shared();
  EXPECT_EQ(&packer, &ZVPacker::shared());
  EXPECT_EQ(packer.packCount(), 0);
  EXPECT_EQ(packer.offset(), 0u);
  EXPECT_TRUE(packer.grayDataBuffer().empty());
  packer.setPackCount(7);
  packer.setOffset(4032);
  packer.grayDataBuffer().push_back({1, 2});
  EXPECT_EQ(ZVPacker::shared().packCount(), 7);
  EXPECT_EQ(ZVPacker::shared().offset(), 4032u);
  EXPECT_EQ(ZVPacker::shared().grayDataBuffer(), (std::vector<ZVData>{{1, 2}}));
}

} // namespace
