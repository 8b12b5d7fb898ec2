// How fast the virtual printer turns a print job into paper: a framed
// 576-dot receipt, and the same raster as a TSPL label.
#include "backends/sim/printer_engine.h"

#include <zvprinter/ZVAlgorithmManager.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr int32_t kWidthBytes = 72; // 576 dots
constexpr int32_t kRows = 2000;

ZVData receiptRaster() {
  ZVData raster(size_t{kWidthBytes} * kRows);
  uint32_t state = 12345;
  for (size_t i = 0; i < raster.size(); ++i) {
    state = state * 1664525u + 1013904223u;
    raster[i] = (i / kWidthBytes) % 5 < 2 ? 0xFF : static_cast<uint8_t>(state >> 24);
  }
  return raster;
}

void runJob(benchmark::State &state, const ZVData &job) {
  ZVVirtualPrinterConfig config;
  for (auto _ : state) {
    ZVVirtualPrinterFaults faults;
    zv::detail::PrinterEngine engine(config);
    engine.receive(job, faults);
    engine.endOfInput(faults);
    benchmark::DoNotOptimize(engine.paper().rowCount());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(job.size()));
  state.counters["rows/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kRows,
                                                benchmark::Counter::kIsRate);
}

void BM_FramedReceipt(benchmark::State &state) {
  const ZVData raster = receiptRaster();
  runJob(state, ZVAlgorithmManager::managerData(raster.data(), static_cast<int32_t>(raster.size()),
                                                kWidthBytes, kRows, 48, true));
}
BENCHMARK(BM_FramedReceipt)->Unit(benchmark::kMillisecond);

void BM_TsplLabel(benchmark::State &state) {
  const ZVData raster = receiptRaster();
  const std::string header = "SIZE 72 mm,250 mm\r\nCLS\r\nBITMAP 0,0," +
                             std::to_string(kWidthBytes) + "," + std::to_string(kRows) + ",0,";
  ZVData job(header.begin(), header.end());
  job.insert(job.end(), raster.begin(), raster.end());
  const std::string print = "PRINT 1,1\r\n";
  job.insert(job.end(), print.begin(), print.end());
  runJob(state, job);
}
BENCHMARK(BM_TsplLabel)->Unit(benchmark::kMillisecond);

} // namespace
