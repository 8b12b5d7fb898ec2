// Decodes arbitrary bytes as an image; when a small image comes out, runs the
// three print conversions on it (raw and framed), and checks that converting
// while decoding gives the same framed data, and refuses what decoding refuses.
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImage.h>

#include "imaging/streamed_conversion.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace {

constexpr size_t kMaxInput = 64 * 1024;
// Conversions of larger images teach the fuzzer nothing new and slow it down.
constexpr uint64_t kMaxConvertedPixels = 64 * 64;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kMaxInput) return 0;
  const std::span<const uint8_t> bytes(data, size);
  const auto image = ZVImage::fromEncoded(bytes);
  std::string error;
  if (!image) {
    if (zv::detail::printDataOfEncoded(bytes, size % 3, 48, true, error)) __builtin_trap();
    return 0;
  }
  if (uint64_t{image->pixelWidth()} * image->pixelHeight() > kMaxConvertedPixels) return 0;
  const size_t rowBytes = (image->pixelWidth() + 7) / 8;
  for (const int64_t mode : {0, 1, 2}) {
    const auto raw = ZVBitmapManager::generateBitmapDataWithImage(*image, false, mode);
    if (!raw || raw->size() != rowBytes * image->pixelHeight()) __builtin_trap();
    const auto framed =
        ZVBitmapManager::generateGenralDataWithImage(*image, size % 2 == 0, mode, 48, true);
    if (!framed || framed->empty()) __builtin_trap();
    const bool package = size % 4 < 2;
    const auto streamed = zv::detail::printDataOfEncoded(bytes, mode, 48, package, error);
    const auto expected =
        ZVBitmapManager::generateGenralDataWithImage(*image, false, mode, 48, package);
    if (streamed != expected) __builtin_trap();
  }
  return 0;
}
