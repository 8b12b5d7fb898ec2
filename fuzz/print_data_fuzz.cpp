// Print-data assembly over arbitrary raster sizes: every mode must give its
// defined result, and every frame must decompress back to the raster.
//
// Input: width (i32 LE), height (i32 LE), length (i32 LE, reduced to the
// bytes that follow), compress mode byte, then the raster bytes.

#include <zvprinter/ZVAlgorithmManager.h>

#include <lzo/lzo1x.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>

namespace {

constexpr size_t kMaxInput = 1 << 16;
constexpr size_t kFieldsSize = 13;

void require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

int32_t readI32(const uint8_t *at) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) {
    value = value << 8 | at[i];
  }
  return static_cast<int32_t>(value);
}

// Decompresses every frame of @p bytes in turn, checking each header.
ZVData unpackFrames(std::span<const uint8_t> bytes, int32_t width, int32_t height) {
  const int32_t maxRows = height < 17 ? height : (width >= 49 ? 16 : 30);
  ZVData raster;
  ZVData band;
  while (!bytes.empty()) {
    require(bytes.size() >= 12);
    require(bytes[0] == 0x1D && bytes[1] == 0x76 && bytes[2] == 0x30 && bytes[3] == 0x30);
    require((bytes[4] | bytes[5] << 8) == static_cast<uint16_t>(width));
    require((bytes[6] | bytes[7] << 8) <= maxRows);
    const uint32_t length = readI32(bytes.data() + 8);
    require(bytes.size() - 12 >= length);
    band.resize(size_t{length} * 256 + 64);
    lzo_uint written = band.size();
    require(lzo1x_decompress_safe(bytes.data() + 12, length, band.data(), &written, nullptr) ==
            LZO_E_OK);
    raster.insert(raster.end(), band.begin(), band.begin() + static_cast<ptrdiff_t>(written));
    bytes = bytes.subspan(12 + length);
  }
  return raster;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < kFieldsSize || size > kMaxInput) {
    return 0;
  }
  const int32_t width = readI32(data);
  const int32_t height = readI32(data + 4);
  const auto available = static_cast<int32_t>(size - kFieldsSize);
  const int32_t length = std::min(readI32(data + 8), available);
  const int64_t otherMode = data[12] == 0 || data[12] == 48 ? 1 : data[12];
  const uint8_t *raster = data + kFieldsSize;
  const ZVData expected = length > 0 ? ZVData(raster, raster + length) : ZVData{};
  using M = ZVAlgorithmManager;

  for (const bool package : {false, true}) {
    require(M::managerData(raster, length, width, height, 0, package) == expected);
    require(M::managerData(raster, length, width, height, otherMode, package).empty());
  }

  const ZVData stream = M::managerData(raster, length, width, height, 48, false);
  if (expected.empty()) {
    require(stream.empty());
  } else {
    ZVData out(expected.size() + 1);
    lzo_uint written = out.size();
    require(lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &written, nullptr) ==
            LZO_E_OK);
    require(written == expected.size() &&
            std::equal(expected.begin(), expected.end(), out.begin()));
  }

  const ZVData frames = M::managerData(raster, length, width, height, 48, true);
  const bool framed = width >= 1 && height >= 1 && !expected.empty();
  require(framed != frames.empty());
  require(unpackFrames(frames, width, height) == (framed ? expected : ZVData{}));

  const auto slices = M::generateBitmapSlices(raster, length, width, height);
  ZVData joined;
  for (size_t i = 0; i < slices.size(); ++i) {
    require(slices[i].serial == static_cast<uint16_t>(i));
    joined.insert(joined.end(), slices[i].data.begin(), slices[i].data.end());
  }
  require(joined == frames);
  return 0;
}
