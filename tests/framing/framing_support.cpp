#include "framing/framing_support.h"

#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>
#include <lzo/lzo1x.h>

#include <algorithm>
#include <random>

namespace zv::test {

std::optional<ZVData> decompress(std::span<const uint8_t> stream, size_t capacity) {
  ZVData out(capacity);
  lzo_uint written = out.size();
  const int rc = lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &written, nullptr);
  if (rc != LZO_E_OK) {
    return std::nullopt;
  }
  out.resize(written);
  return out;
}

std::optional<ZVData> unpackFrames(const std::vector<ParsedFrame> &frames,
                                   std::vector<size_t> *bandSizes) {
  ZVData all;
  for (const ParsedFrame &frame : frames) {
    // Each byte of a stream stands for at most 255 bytes of output.
    auto band = decompress(frame.stream, frame.stream.size() * 256 + 64);
    if (!band) {
      return std::nullopt;
    }
    all.insert(all.end(), band->begin(), band->end());
    if (bandSizes != nullptr) {
      bandSizes->push_back(band->size());
    }
  }
  return all;
}

uint32_t readLE32(std::span<const uint8_t> bytes, size_t at) {
  return uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 |
         uint32_t{bytes[at + 3]} << 24;
}

std::vector<ParsedFrame> parseFrames(std::span<const uint8_t> bytes) {
  std::vector<ParsedFrame> frames;
  size_t at = 0;
  while (at < bytes.size()) {
    if (bytes.size() - at < 12) {
      ADD_FAILURE() << "truncated header at " << at;
      break;
    }
    const auto header = bytes.subspan(at, 12);
    if (header[0] != 0x1D || header[1] != 0x76 || header[2] != 0x30 || header[3] != 0x30) {
      ADD_FAILURE() << "bad marker at " << at;
      break;
    }
    const uint32_t length = readLE32(header, 8);
    if (bytes.size() - at - 12 < length) {
      ADD_FAILURE() << "truncated stream at " << at;
      break;
    }
    const auto stream = bytes.subspan(at + 12, length);
    frames.push_back({static_cast<uint16_t>(header[4] | header[5] << 8),
                      static_cast<uint16_t>(header[6] | header[7] << 8),
                      {stream.begin(), stream.end()}});
    at += 12 + length;
  }
  return frames;
}

ZVData randomBytes(size_t size, uint32_t seed) {
  std::mt19937 engine(seed);
  ZVData bytes(size);
  std::ranges::generate(bytes, [&] { return static_cast<uint8_t>(engine()); });
  return bytes;
}

ZVData ditheredPhotoRaster(int32_t bytesPerRow, int32_t rows) {
  // Each dot is the photo's gray level against a random threshold: a noisy
  // dither with the photo's large-scale structure.
  const auto photo = ZVImage::fromFile(ZV_SAMPLE_PHOTO_DIR "/camera.png");
  std::mt19937 engine(11);
  ZVData raster(static_cast<size_t>(bytesPerRow) * rows);
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t x = 0; x < bytesPerRow * 8; ++x) {
      int gray = (x * 3 + y * 5) % 256;
      if (photo) {
        const uint32_t px = static_cast<uint32_t>(x) % photo->pixelWidth();
        const uint32_t py = static_cast<uint32_t>(y) % photo->pixelHeight();
        gray = photo->rgba()[(size_t{py} * photo->pixelWidth() + px) * 4];
      }
      if (gray < static_cast<int>(engine() % 256)) {
        raster[static_cast<size_t>(y) * bytesPerRow + x / 8] |=
            static_cast<uint8_t>(0x80 >> (x % 8));
      }
    }
  }
  return raster;
}

} // namespace zv::test
