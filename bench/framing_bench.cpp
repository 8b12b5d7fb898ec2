// Throughput of print-data framing (MB/s of raster in) and firmware framing.
#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVPackProtocol.h>

#include <benchmark/benchmark.h>

#include <random>

namespace {

constexpr int32_t kBytesPerRow = 72; // 576 dots, the common 2-inch head
constexpr int32_t kRows = 4000;

ZVData randomDots(uint32_t seed) {
  std::mt19937 engine(seed);
  ZVData raster(size_t{kBytesPerRow} * kRows);
  for (auto &byte : raster) {
    byte = static_cast<uint8_t>(engine()); // every bit a fair coin
  }
  return raster;
}

// A photo (mirrored to fill the page) error-diffused with Floyd-Steinberg
// weights in integer arithmetic: the content of a real dithered print.
ZVData ditheredPhoto() {
  constexpr int32_t width = kBytesPerRow * 8;
  const auto photo = ZVImage::fromFile(ZV_SAMPLE_PHOTO_DIR "/astronaut.png");
  std::vector<int32_t> gray(size_t{width} * kRows);
  for (int32_t y = 0; y < kRows; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      int32_t value = (x * 7 + y * 3) % 256; // a plain ramp without the photo
      if (photo) {
        const uint32_t w = photo->pixelWidth();
        const uint32_t h = photo->pixelHeight();
        const uint32_t px = (x / w) % 2 ? w - 1 - x % w : x % w;
        const uint32_t py = (y / h) % 2 ? h - 1 - y % h : y % h;
        value = photo->rgba()[(size_t{py} * w + px) * 4 + 1];
      }
      gray[static_cast<size_t>(y) * width + x] = value * 16;
    }
  }
  ZVData raster(size_t{kBytesPerRow} * kRows);
  for (int32_t y = 0; y < kRows; ++y) {
    int32_t *row = &gray[static_cast<size_t>(y) * width];
    int32_t *below = y + 1 < kRows ? row + width : nullptr;
    for (int32_t x = 0; x < width; ++x) {
      const bool dot = row[x] < 128 * 16;
      const int32_t error = row[x] - (dot ? 0 : 255 * 16);
      if (dot) {
        raster[static_cast<size_t>(y) * kBytesPerRow + x / 8] |=
            static_cast<uint8_t>(0x80 >> (x % 8));
      }
      if (x + 1 < width) row[x + 1] += error * 7 / 16;
      if (below != nullptr) {
        if (x > 0) below[x - 1] += error * 3 / 16;
        below[x] += error * 5 / 16;
        if (x + 1 < width) below[x + 1] += error / 16;
      }
    }
  }
  return raster;
}

ZVData mostlyWhite() {
  ZVData raster(size_t{kBytesPerRow} * kRows, 0xFF);
  std::mt19937 engine(3);
  for (int i = 0; i < 2000; ++i) { // a few scattered dots and short strokes
    raster[engine() % raster.size()] = static_cast<uint8_t>(engine());
  }
  return raster;
}

void framePrintData(benchmark::State &state, const ZVData &raster, bool package) {
  size_t out = 0;
  for (auto _ : state) {
    const ZVData data = ZVAlgorithmManager::managerData(
        raster.data(), static_cast<int32_t>(raster.size()), kBytesPerRow, kRows, 48, package);
    out = data.size();
    benchmark::DoNotOptimize(data.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * raster.size()));
  state.counters["ratio"] = static_cast<double>(out) / static_cast<double>(raster.size());
}

void BM_FramedRandomDots(benchmark::State &state) {
  static const ZVData raster = randomDots(1);
  framePrintData(state, raster, true);
}
void BM_FramedDitheredPhoto(benchmark::State &state) {
  static const ZVData raster = ditheredPhoto();
  framePrintData(state, raster, true);
}
void BM_FramedMostlyWhite(benchmark::State &state) {
  static const ZVData raster = mostlyWhite();
  framePrintData(state, raster, true);
}
void BM_SingleStreamDitheredPhoto(benchmark::State &state) {
  static const ZVData raster = ditheredPhoto();
  framePrintData(state, raster, false);
}

void BM_FirmwareFrames1MB(benchmark::State &state) {
  std::mt19937 engine(5);
  ZVData image(1 << 20);
  for (auto &byte : image) {
    byte = static_cast<uint8_t>(engine());
  }
  for (auto _ : state) {
    const auto slices = ZVPackProtocol::generateFirmwarePacksWithData(image);
    benchmark::DoNotOptimize(slices.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * image.size()));
}

} // namespace

BENCHMARK(BM_FramedRandomDots)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FramedDitheredPhoto)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FramedMostlyWhite)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SingleStreamDitheredPhoto)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FirmwareFrames1MB)->Unit(benchmark::kMicrosecond);
