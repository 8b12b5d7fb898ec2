// The conversions' print data end to end: inversion per mode, compression
// and framing, slices.
#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>

#include "reference.h"

#include <gtest/gtest.h>
#include <lzo/lzo1x.h>

namespace {

ZVData decompress(std::span<const uint8_t> stream, size_t size) {
  ZVData out(size + 64);
  lzo_uint written = out.size();
  EXPECT_EQ(lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &written, nullptr),
            LZO_E_OK);
  out.resize(written);
  return out;
}

// Concatenated rows of a series of frames (12-byte header, then the stream).
ZVData unframe(std::span<const uint8_t> frames, size_t rasterSize) {
  ZVData rows;
  while (frames.size() >= 12) {
    EXPECT_EQ(frames[0], 0x1D);
    const size_t length = frames[8] | frames[9] << 8 | frames[10] << 16 | size_t(frames[11]) << 24;
    const auto band = decompress(frames.subspan(12, length), rasterSize);
    rows.insert(rows.end(), band.begin(), band.end());
    frames = frames.subspan(12 + length);
  }
  EXPECT_TRUE(frames.empty());
  return rows;
}

ZVData unslice(const std::vector<ZVBitmapSlice> &slices, size_t rasterSize) {
  ZVData frames;
  for (size_t i = 0; i < slices.size(); ++i) {
    EXPECT_EQ(slices[i].serial, i);
    frames.insert(frames.end(), slices[i].data.begin(), slices[i].data.end());
  }
  return unframe(frames, rasterSize);
}

ZVData complement(ZVData bytes) {
  for (auto &b : bytes)
    b = static_cast<uint8_t>(~b);
  return bytes;
}

TEST(PrintData, ThresholdAndDitherDataAreInvertedClusterDataIsNot) {
  std::mt19937 random(17);
  const ZVImage image = reference::randomImage(random, 75, 70); // 10 bytes x 70 rows: 3 frames
  const auto gray = reference::histogramGrayLevels(image);
  const ZVData threshold = reference::thresholdRaster(image, reference::otsu(gray, 75, 70));
  const ZVData dither = reference::ditherRaster(image);
  const size_t size = threshold.size();

  EXPECT_EQ(*ZVBitmapManager::generateBinaryData(image, 0, false, false, 0), complement(threshold));
  EXPECT_EQ(decompress(*ZVBitmapManager::generateBinaryData(image, 48, false, false, 0), size),
            complement(threshold));
  EXPECT_EQ(unframe(*ZVBitmapManager::generateDitheringData(image, 48, true), size),
            complement(dither));
  EXPECT_EQ(unslice(*ZVAlgorithmManager::generateBinaryArray(image), size), threshold);
  EXPECT_EQ(unslice(*ZVAlgorithmManager::generateDitheringArray(image), size), dither);

  const ZVData clusterRaw = *ZVBitmapManager::generateClosureData(image, 0, false);
  EXPECT_EQ(clusterRaw, reference::clusterRaster(
                            ZVAlgorithmManager::generateCluserGaryDatas(image, true), 75, 70));
  EXPECT_EQ(unframe(*ZVBitmapManager::generateGenralDataWithImage(image, false, 2, 48, true), size),
            clusterRaw);
  EXPECT_EQ(unslice(*ZVAlgorithmManager::generateClusterArray(image), size), clusterRaw);
}

TEST(PrintData, UnknownCompressValuesGiveEmptyData) {
  std::mt19937 random(1);
  const ZVImage image = reference::randomImage(random, 9, 3);
  for (const int64_t compress : {1, 47, 49, -48})
    for (const int64_t mode : {0, 1, 2}) {
      const auto data =
          ZVBitmapManager::generateGenralDataWithImage(image, false, mode, compress, mode % 2 == 0);
      ASSERT_TRUE(data);
      EXPECT_TRUE(data->empty()) << compress << " " << mode;
    }
}

TEST(PrintData, FixedThresholdsFromPureBlackToEveryOpaquePixel) {
  // Black, gray 1, white, transparent black; then four opaque whites.
  std::vector<uint8_t> rgba = {0,   0,   0,   255, 1,   1,   1,   255, 255, 255, 255,
                               255, 0,   0,   0,   0,   255, 255, 255, 255, 255, 255,
                               255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
  const ZVImage image = *ZVImage::fromRGBA(8, 1, rgba);
  EXPECT_EQ(*ZVBitmapManager::printableBinaryData(image, 0, 0), (ZVData{0x7F}));
  EXPECT_EQ(*ZVBitmapManager::printableBinaryData(image, 255, 0), (ZVData{0x10}));
  // An all-white image: Otsu gives 0, white (254) is above it, no dots.
  const ZVImage white = *ZVImage::fromRGBA(8, 2, std::vector<uint8_t>(64, 255));
  EXPECT_EQ(*ZVBitmapManager::generateBitmapDataWithImage(white, false, 0), (ZVData{0xFF, 0xFF}));
}

} // namespace
