#include "reference.h"

#include <array>

namespace reference {

std::vector<uint8_t> premultiplied(const ZVImage &image) {
  std::vector<uint8_t> out(image.rgba().begin(), image.rgba().end());
  for (size_t i = 0; i < out.size(); i += 4)
    for (size_t c = 0; c < 3; ++c)
      out[i + c] = static_cast<uint8_t>((out[i + c] * out[i + 3] + 127) / 255);
  return out;
}

int printGray(int r, int g, int b) {
  double v = b * 0.11448 + (g * 0.58661 + r * 0.29891);
  return static_cast<int>(v);
}

int histogramGray(int r, int g, int b) {
  double v = r * 0.11448 + (g * 0.58661 + b * 0.29891);
  return static_cast<int>(v);
}

int ditherGray(int r, int g, int b) {
  double v = b * 0.11 + (g * 0.59 + r * 0.3);
  return static_cast<int>(v);
}

uint32_t otsu(const std::vector<uint8_t> &gray, int32_t width, int32_t height) {
  std::array<uint32_t, 256> hist{};
  for (uint8_t g : gray)
    hist[g]++;
  double sum = 0;
  for (int i = 0; i < 256; ++i)
    sum += i * (double)hist[i];
  double best = -1.0, sumB = 0.0;
  uint32_t threshold = 0, wB = 0;
  for (int t = 0; t < 256; ++t) {
    wB += hist[t];
    if (wB == 0) continue;
    uint32_t wF = (uint32_t)(width * height) - wB;
    if (wF == 0) break;
    sumB += (double)hist[t] * t;
    double mB = sumB / (int32_t)wB;
    double mF = (sum - sumB) / (int32_t)wF;
    double v = (double)(int32_t)wF * (double)(int32_t)wB * (mB - mF) * (mB - mF);
    if (v > best) {
      best = v;
      threshold = (uint32_t)t;
    }
  }
  return threshold;
}

std::vector<uint8_t> histogramGrayLevels(const ZVImage &image) {
  const auto px = premultiplied(image);
  std::vector<uint8_t> gray(px.size() / 4);
  for (size_t i = 0; i < gray.size(); ++i)
    gray[i] = (uint8_t)histogramGray(px[4 * i], px[4 * i + 1], px[4 * i + 2]);
  return gray;
}

std::vector<uint8_t> thresholdRaster(const ZVImage &image, uint64_t limit) {
  const auto px = premultiplied(image);
  const uint32_t w = image.pixelWidth(), h = image.pixelHeight(), rowBytes = (w + 7) / 8;
  std::vector<uint8_t> out(size_t(rowBytes) * h, 0);
  for (uint32_t y = 0; y < h; ++y)
    for (uint32_t x = 0; x < w; ++x) {
      const uint8_t *p = &px[(size_t(y) * w + x) * 4];
      uint32_t word = p[0] | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24;
      uint64_t gray = (uint64_t)printGray(p[0], p[1], p[2]);
      if (word >= 0xFF000000u && gray <= limit) out[y * rowBytes + x / 8] |= 0x80 >> (x % 8);
    }
  return out;
}

std::vector<uint8_t> ditherRaster(const ZVImage &image) {
  const auto px = premultiplied(image);
  const int w = (int)image.pixelWidth(), h = (int)image.pixelHeight(), rowBytes = (w + 7) / 8;
  std::vector<int32_t> value(size_t(w) * h);
  for (size_t i = 0; i < value.size(); ++i)
    value[i] =
        px[4 * i + 3] == 255 ? (ditherGray(px[4 * i], px[4 * i + 1], px[4 * i + 2]) & 0xFF) : 255;
  auto at = [&](int x, int y) -> int32_t & { return value[size_t(y) * w + x]; };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int32_t old = at(x, y);
      int32_t nw = old < 129 ? 0 : 255;
      at(x, y) = nw;
      double e = (double)(float)(old - nw);
      if (x < w - 1) at(x + 1, y) += (int32_t)(e * 0.4375);
      if (y < h - 1) {
        if (x >= 2) at(x - 1, y + 1) += (int32_t)(e * 0.1875);
        at(x, y + 1) += (int32_t)(e * 0.3125);
        if (x < w - 1) at(x + 1, y + 1) += (int32_t)(e * 0.0625);
      }
    }
  std::vector<uint8_t> out(size_t(rowBytes) * h, 0);
  for (int y = 0; y < h; ++y) {
    int acc = 0, next = 0;
    for (int x = 0; x < w; ++x) {
      if (at(x, y) < 129) acc |= 128 >> (x % 8);
      if (x % 8 == 7) {
        out[size_t(y) * rowBytes + next++] = (uint8_t)acc;
        acc = 0;
      }
    }
  }
  return out;
}

std::vector<uint8_t> clusterRaster(const std::vector<uint8_t> &gray, uint32_t width,
                                   int32_t height) {
  static const uint8_t c[8][8] = {
      {24, 10, 12, 26, 35, 47, 49, 37}, {8, 0, 2, 14, 45, 59, 61, 51},
      {22, 6, 4, 16, 43, 57, 63, 53},   {30, 20, 18, 28, 33, 41, 55, 39},
      {34, 46, 48, 36, 25, 11, 13, 27}, {44, 58, 60, 50, 9, 1, 3, 15},
      {42, 56, 62, 52, 23, 7, 5, 17},   {32, 40, 54, 38, 31, 21, 19, 29}};
  const uint32_t rowBytes = (width + 7) / 8;
  std::vector<uint8_t> out(size_t(rowBytes) * (height > 0 ? height : 0), 0);
  for (int32_t y = 0; y < height; ++y) {
    uint8_t *o = &out[size_t(y) * rowBytes];
    for (uint32_t x = 0; x < width; x += 8, ++o)
      for (uint32_t k = 0; k < 8; ++k) {
        size_t i = size_t(y) * width + x + k;
        int p = i < gray.size() ? gray[i] : 0; // past the buffer: 0
        if (p >= 4 && (p >> 2) >= c[y % 8][k]) *o |= 128 >> k;
      }
  }
  return out;
}

ZVImage randomImage(std::mt19937 &random, uint32_t width, uint32_t height) {
  std::vector<uint8_t> rgba(size_t(width) * height * 4);
  std::uniform_int_distribution<int> byte(0, 255), choice(0, 7);
  for (size_t i = 0; i < rgba.size(); i += 4) {
    for (size_t c = 0; c < 3; ++c)
      rgba[i + c] = (uint8_t)byte(random);
    const int kind = choice(random);
    rgba[i + 3] = kind == 0 ? 0 : kind == 1 ? (uint8_t)byte(random) : 255;
  }
  return *ZVImage::fromRGBA(width, height, rgba);
}

} // namespace reference

namespace reference {

ZVImage grayRamp(uint32_t rows) {
  std::vector<uint8_t> rgba;
  for (uint32_t y = 0; y < rows; ++y)
    for (int v = 0; v < 256; ++v)
      rgba.insert(rgba.end(), {uint8_t(v), uint8_t(v), uint8_t(v), uint8_t(y % 2 ? 128 : 255)});
  return *ZVImage::fromRGBA(256, rows, rgba);
}

} // namespace reference
