// The last step of every print conversion: the packed 1-bit raster becomes
// the bytes sent to the printer (raw, one LZO1X stream, or framed bands).

#include "framing/lzo_bound.h"
#include "framing/print_frames.h"

#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVPrinterC.h>

#include <span>

namespace {

constexpr int64_t kRawRaster = 0;
constexpr int64_t kLzoCompressed = 48; // the character '0'

std::span<const uint8_t> rasterView(const uint8_t *bitmap, int32_t memoryLength) {
  if (bitmap == nullptr || memoryLength < 1) {
    return {};
  }
  return {bitmap, static_cast<size_t>(memoryLength)};
}

ZVData singleStream(std::span<const uint8_t> raster) {
  ZVData result(zv::detail::lzoWorstCase(raster.size()));
  result.resize(
      zv_lzo_compress(raster.data(), static_cast<uint32_t>(raster.size()), result.data()));
  return result;
}

ZVData framedBands(std::span<const uint8_t> raster, int32_t bitmapWidth, int32_t height) {
  zv::detail::PrintFrameCutter cutter(raster, bitmapWidth, height);
  ZVData result;
  // Headers plus a quarter of the raster: enough for typical dithered photos
  // after compression; anything larger grows geometrically.
  result.reserve(cutter.frameCount() * zv::detail::kPrintFrameHeaderSize + raster.size() / 4);
  for (auto frame = cutter.next(); !frame.empty(); frame = cutter.next()) {
    result.insert(result.end(), frame.begin(), frame.end());
  }
  return result;
}

} // namespace

ZVData ZVAlgorithmManager::managerData(const uint8_t *bitmap, int32_t memoryLength,
                                       int32_t bitmapWidth, int32_t height, int64_t compressMod,
                                       bool packeage) {
  const auto raster = rasterView(bitmap, memoryLength);
  if (raster.empty()) {
    return {};
  }
  if (compressMod == kRawRaster) {
    return ZVData(raster.begin(), raster.end());
  }
  if (compressMod == kLzoCompressed) {
    return packeage ? framedBands(raster, bitmapWidth, height) : singleStream(raster);
  }
  return {};
}

std::vector<ZVBitmapSlice> ZVAlgorithmManager::generateBitmapSlices(const uint8_t *bitmap,
                                                                    int32_t memoryLength,
                                                                    int32_t bitmapWidth,
                                                                    int32_t height) {
  zv::detail::PrintFrameCutter cutter(rasterView(bitmap, memoryLength), bitmapWidth, height);
  std::vector<ZVBitmapSlice> slices;
  slices.reserve(cutter.frameCount());
  for (auto frame = cutter.next(); !frame.empty(); frame = cutter.next()) {
    slices.push_back({static_cast<uint16_t>(slices.size()), ZVData(frame.begin(), frame.end())});
  }
  return slices;
}
