#include "framing/framing_support.h"

#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>
#include <lzo/lzo1x.h>

#include <algorithm>
#include <cmath>
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

namespace {

std::vector<float> grayScene(int32_t width, int32_t height) {
  std::vector<float> gray(static_cast<size_t>(width) * height);
  const auto photo = ZVImage::fromFile(ZV_SAMPLE_PHOTO_DIR "/camera.png");
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      float value = 0;
      if (photo && photo->pixelWidth() > 0) {
        const uint32_t px = static_cast<uint32_t>(x) % photo->pixelWidth();
        const uint32_t py = static_cast<uint32_t>(y) % photo->pixelHeight();
        value = photo->rgba()[(size_t{py} * photo->pixelWidth() + px) * 4];
      } else {
        value = 127.5f + 100.0f * std::sin(x * 0.05f) * std::cos(y * 0.031f) + (x + y) % 56;
      }
      gray[static_cast<size_t>(y) * width + x] = value;
    }
  }
  return gray;
}

} // namespace

ZVData ditheredPhotoRaster(int32_t bytesPerRow, int32_t rows) {
  const int32_t width = bytesPerRow * 8;
  std::vector<float> gray = grayScene(width, rows);
  ZVData raster(static_cast<size_t>(bytesPerRow) * rows);
  auto at = [&](int32_t x, int32_t y) -> float & {
    return gray[static_cast<size_t>(y) * width + x];
  };
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const float old = at(x, y);
      const bool dot = old < 128;
      const float error = old - (dot ? 0.0f : 255.0f);
      if (dot) {
        raster[static_cast<size_t>(y) * bytesPerRow + x / 8] |=
            static_cast<uint8_t>(0x80 >> (x % 8));
      }
      if (x + 1 < width) at(x + 1, y) += error * 7 / 16;
      if (y + 1 < rows) {
        if (x > 0) at(x - 1, y + 1) += error * 3 / 16;
        at(x, y + 1) += error * 5 / 16;
        if (x + 1 < width) at(x + 1, y + 1) += error * 1 / 16;
      }
    }
  }
  return raster;
}

} // namespace zv::test
