// Conversion speed of a 576 x 4000 photo per print mode, from a decoded
// ZVImage to print data (canvas drawing included), and the heap peak of a
// 576 x 10000 conversion.
//
// Peak memory is measured with a counting global operator new/delete: the
// largest number of live heap bytes during one conversion, above what was
// live before it, divided by the size of the conversion's RGBA canvas
// (counter "peak_per_canvas"). Every buffer of the conversion (canvas,
// raster, print data) is a std::vector, so all of it is counted; the source
// image, which exists before the call, is not. With the watermark the banded
// image is 24 rows taller than the canvas the ratio is taken against.
#include <zvprinter/ZVBitmapManager.h>

#include "platform/canvas.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <new>
#include <string>

namespace {

std::atomic<size_t> liveBytes{0};
std::atomic<size_t> peakBytes{0};

void *countedAlloc(size_t size) {
  // A header in front of each block remembers its size for the delete.
  void *block = std::malloc(size + 16);
  if (!block) throw std::bad_alloc();
  *static_cast<size_t *>(block) = size;
  const size_t now = liveBytes.fetch_add(size) + size;
  size_t peak = peakBytes.load();
  while (now > peak && !peakBytes.compare_exchange_weak(peak, now)) {
  }
  return static_cast<char *>(block) + 16;
}

void countedFree(void *pointer) {
  if (!pointer) return;
  void *block = static_cast<char *>(pointer) - 16;
  liveBytes.fetch_sub(*static_cast<size_t *>(block));
  std::free(block);
}

} // namespace

void *operator new(size_t size) {
  return countedAlloc(size);
}
void *operator new[](size_t size) {
  return countedAlloc(size);
}
void operator delete(void *pointer) noexcept {
  countedFree(pointer);
}
void operator delete[](void *pointer) noexcept {
  countedFree(pointer);
}
void operator delete(void *pointer, size_t) noexcept {
  countedFree(pointer);
}
void operator delete[](void *pointer, size_t) noexcept {
  countedFree(pointer);
}

namespace {

// astronaut.png resized by the canvas to 576 wide, its rows repeated to
// the requested height. An opaque image serves as its own canvas; with
// @p translucent one pixel has alpha 254, so the conversion draws a canvas.
const ZVImage &photo(uint32_t height, bool translucent = false) {
  static std::map<std::pair<uint32_t, bool>, ZVImage> cache;
  const auto key = std::pair{height, translucent};
  if (auto found = cache.find(key); found != cache.end()) return found->second;
  const auto source = ZVImage::fromFile(std::string(ZV_SAMPLE_PHOTO_DIR) + "/astronaut.png");
  if (!source) std::abort();
  const uint32_t side = 576 * source->pixelHeight() / source->pixelWidth();
  const auto resized = zv::detail::imageFromCanvas(*zv::detail::drawnCanvas(*source, 576, side));
  const auto tile = resized->rgba();
  std::vector<uint8_t> rgba(size_t{576} * 4 * height);
  for (size_t i = 0; i < rgba.size(); ++i)
    rgba[i] = tile[i % tile.size()];
  if (translucent) rgba[3] = 254;
  return cache.emplace(key, *ZVImage::fromRGBA(576, height, rgba)).first->second;
}

void convert(benchmark::State &state) {
  const ZVImage &image = photo(4000, state.range(2) != 0);
  const auto mode = state.range(0);
  const auto compress = state.range(1);
  for (auto _ : state) {
    auto data = ZVBitmapManager::generateGenralDataWithImage(image, false, mode, compress, true);
    benchmark::DoNotOptimize(data);
  }
  const double pixels = double(image.pixelWidth()) * image.pixelHeight();
  state.counters["MPix/s"] =
      benchmark::Counter(pixels * double(state.iterations()) / 1e6, benchmark::Counter::kIsRate);
}

void peakMemory(benchmark::State &state) {
  const ZVImage &image = photo(10000, state.range(1) != 0);
  const auto mode = state.range(0);
  const bool watermark = state.range(2) != 0;
  size_t growth = 0;
  for (auto _ : state) {
    const size_t before = liveBytes.load();
    peakBytes.store(before);
    auto data = ZVBitmapManager::generateGenralDataWithImage(image, watermark, mode, 48, true);
    benchmark::DoNotOptimize(data);
    growth = std::max(growth, peakBytes.load() - before);
  }
  const double canvas = 576.0 * 10000 * 4;
  state.counters["peak_MB"] = double(growth) / 1e6;
  state.counters["peak_per_canvas"] = double(growth) / canvas;
}

} // namespace

// Arguments: mode (0 threshold, 1 error diffusion, 2 clustered), compress
// (0 raw raster, 48 LZO1X in framed blocks), translucent (0 an opaque photo,
// 1 the same with one pixel of alpha 254, which makes the conversion draw a
// premultiplied canvas).
BENCHMARK(convert)
    ->ArgNames({"mode", "compress", "translucent"})
    ->ArgsProduct({{0, 1, 2}, {0, 48}, {0, 1}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(peakMemory)
    ->ArgNames({"mode", "translucent", "watermark"})
    ->ArgsProduct({{0, 1, 2}, {0, 1}, {0, 1}})
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);
