// Previews and sharpening on a 576 x 4000 photo (a skimage photo drawn 576
// wide and repeated down to 4000 rows). Items are pixels: items_per_second
// reads as pixels per second.

#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrinterC.h>

#include "platform/canvas.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr uint32_t kWidth = 576;
constexpr uint32_t kHeight = 4000;

const ZVImage &photo() {
  static const ZVImage image = [] {
    const std::string path = std::string(ZV_SAMPLE_PHOTO_DIR) + "/astronaut.png";
    const auto source = ZVImage::fromFile(path);
    if (!source) {
      std::fprintf(stderr, "cannot load %s\n", path.c_str());
      std::exit(1);
    }
    const uint32_t tile = source->pixelHeight() * kWidth / source->pixelWidth();
    auto canvas = zv::detail::makeCanvas(kWidth, kHeight);
    for (uint32_t y = 0; y < kHeight; y += tile)
      zv::detail::drawImage(*canvas, *source, 0, y, kWidth, tile);
    return *zv::detail::imageFromCanvas(*canvas);
  }();
  return image;
}

template <typename Run> void runOverPhoto(benchmark::State &state, Run run) {
  const ZVImage &image = photo();
  for (auto _ : state)
    benchmark::DoNotOptimize(run(image));
  state.SetItemsProcessed(state.iterations() * int64_t{kWidth} * kHeight);
}

void BM_BinaryPreview(benchmark::State &state) {
  runOverPhoto(state,
               [](const ZVImage &i) { return ZVImagePreviewManager::binaryPreviewWithImage(i); });
}

void BM_DitheringPreview(benchmark::State &state) {
  runOverPhoto(
      state, [](const ZVImage &i) { return ZVImagePreviewManager::ditheringPreviewWithImage(i); });
}

void BM_GrayScalePreview(benchmark::State &state) {
  runOverPhoto(state, [](const ZVImage &i) {
    return ZVImagePreviewManager::grayScalePreviewWithImage(i, 1.4, false);
  });
}

void BM_ImageToSharpen(benchmark::State &state) {
  runOverPhoto(state, [](const ZVImage &i) { return ZVAlgorithmManager::imageToSharpen(i); });
}

// The plain function alone, on the photo's gray plane (576 is a multiple of
// 4, so the plane needs no row padding).
void BM_SharpLaplacian(benchmark::State &state) {
  const ZVData gray = ZVImagePreviewManager::graylevel256Datas(photo());
  std::vector<uint8_t> out(gray.size());
  std::vector<float> work(gray.size());
  const float levels[16] = {0.066f, 0.091f, 0.14f,  0.164f, 0.201f, 0.249f, 0.318f, 0.424f,
                            0.485f, 0.579f, 0.682f, 0.791f, 0.975f, 1.199f, 1.375f, 1.485f};
  uint8_t palette[16];
  for (auto _ : state) {
    SharpLaplacianCl_New(out.data(), gray.data(), kWidth, kHeight, 16, levels, palette, work.data(),
                         14.0);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * int64_t{kWidth} * kHeight);
}

} // namespace

BENCHMARK(BM_BinaryPreview)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DitheringPreview)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GrayScalePreview)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ImageToSharpen)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SharpLaplacian)->Unit(benchmark::kMillisecond);
