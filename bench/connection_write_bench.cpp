// A 576 x 4000 print job written through ZVPeripheralManager.
//
// BM_LinkThroughput: to a virtual printer over the simulated link, timed on
// the virtual clock, for both module profiles and a few link settings. The
// counters give the bytes per second of link time achieved, the link's
// bound (IVT: packets per interval x chunk size / interval; ISSC: one chunk
// per acknowledgement round trip, a write and its answer in two connection
// events) and their ratio. Its CPU time includes the virtual printer.
//
// BM_WritePathCpu: the write path alone, against a peripheral that takes
// every write and does nothing, so its CPU time per byte is the library's.
#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVPeripheralManager.h>
#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <string>

namespace {

constexpr int32_t kWidthBytes = 72; // 576 dots
constexpr int32_t kRows = 4000;

const ZVData &printJob() {
  static const ZVData job = [] {
    ZVData raster(size_t{kWidthBytes} * kRows);
    uint32_t state = 2026;
    for (size_t i = 0; i < raster.size(); ++i) {
      state = state * 1664525u + 1013904223u;
      raster[i] = (i / kWidthBytes) % 7 < 2 ? 0xFF : static_cast<uint8_t>(state >> 24);
    }
    return ZVAlgorithmManager::managerData(raster.data(), static_cast<int32_t>(raster.size()),
                                           kWidthBytes, kRows, 48, true);
  }();
  return job;
}

ZVSimCentral &central() {
  static const std::shared_ptr<ZVSimCentral> instance = [] {
    ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
    auto made = std::make_shared<ZVSimCentral>(ZVRunLoop::main());
    ZVPlatform::setCentralFactory([made] { return made; });
    return made;
  }();
  return *instance;
}

/// Runs the loop until the send in progress reports its completion.
bool sendAndWait(ZVPeripheralManager &link, const ZVData &job) {
  bool done = false;
  link.setSendProgressBlock([&](const ZVProgress &p) {
    if (p.totalUnitCount > 0 && p.totalUnitCount == p.completedUnitCount) done = true;
  });
  link.sendDataToPrinter(job);
  return ZVRunLoop::main().runUntil([&] { return done; }, 3600.0);
}

// Arguments: profile (0 ISSC, 1 IVT), connection interval in 0.1 ms,
// packets per interval, and the credits an IVT module grants (its receive
// buffers). A credit comes back two connection events after its write (the
// module frees the buffer, then notifies), so a module needs at least two
// intervals' worth of buffers for the link to run at its bound.
void BM_LinkThroughput(benchmark::State &state) {
  auto &loop = ZVRunLoop::main();
  central();
  ZVVirtualPrinterConfig config;
  config.profile =
      state.range(0) == 0 ? ZVVirtualPrinterProfile::ISSC : ZVVirtualPrinterProfile::IVT;
  config.connectionInterval = static_cast<double>(state.range(1)) / 10000.0;
  config.packetsPerInterval = static_cast<uint32_t>(state.range(2));
  config.ivtInitialCredits = static_cast<uint8_t>(state.range(3));
  config.name = config.advertisedName.emplace(
      "Bench-" + std::to_string(state.range(0)) + "-" + std::to_string(state.range(1)) + "-" +
      std::to_string(state.range(2)) + "-" + std::to_string(state.range(3)));
  config.printFinishDelay = 3600; // no replies while writing
  auto printer = std::make_shared<ZVVirtualPrinter>(config);
  central().addPrinter(printer);
  auto &facade = ZVConnectInterface::shared();
  facade.scanBluetooth();
  loop.runFor(0.5);
  std::shared_ptr<ZVPrinterMessage> record;
  for (const auto &r : ZVBluetoothManager::shareInstance().devices()) {
    if (r->name == config.name) record = r;
  }
  facade.connectPrinter(record);
  if (!record || !loop.runUntil([&] { return facade.isConnected(); }, 10.0)) {
    state.SkipWithError("no connection");
    return;
  }
  loop.runFor(0.1);
  auto &link = ZVPeripheralManager::share();
  const ZVData &job = printJob();
  double linkSeconds = 0;
  for (auto _ : state) {
    const double start = loop.now();
    if (!sendAndWait(link, job)) {
      state.SkipWithError("send did not complete");
      break;
    }
    linkSeconds += loop.now() - start;
  }
  const double bytes = static_cast<double>(job.size()) * static_cast<double>(state.iterations());
  const double chunk = static_cast<double>(link.MTU());
  const double interval = config.connectionInterval;
  const double bound =
      state.range(0) == 0 ? chunk / (2 * interval) : config.packetsPerInterval * chunk / interval;
  state.counters["link_B/s"] = bytes / linkSeconds;
  state.counters["bound_B/s"] = bound;
  state.counters["of_bound"] = bytes / linkSeconds / bound;
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  facade.cancelConnect();
  central().removePrinter(printer);
  loop.runFor(0.5);
}
BENCHMARK(BM_LinkThroughput)
    ->ArgNames({"ivt", "interval_0.1ms", "packets", "credits"})
    ->Args({0, 75, 4, 5})
    ->Args({0, 300, 1, 5})
    ->Args({1, 75, 4, 5})
    ->Args({1, 75, 4, 12})
    ->Args({1, 75, 6, 18})
    ->Args({1, 150, 2, 6})
    ->Args({1, 300, 1, 3})
    ->Unit(benchmark::kMillisecond);

/// Takes every write and does nothing with it.
class NullPeripheral : public ZVBlePeripheral {
public:
  std::string identifier() const override { return "00000000-0000-4000-8000-000000000000"; }
  std::optional<std::string> name() const override { return "null"; }
  int64_t state() const override { return ZVBlePeripheralStateConnected; }
  std::vector<std::shared_ptr<ZVBleService>> services() const override { return {}; }
  void discoverServices(const std::optional<std::vector<std::string>> &) override {}
  void discoverCharacteristics(const std::optional<std::vector<std::string>> &,
                               const std::shared_ptr<ZVBleService> &) override {}
  void readValue(const std::shared_ptr<ZVBleCharacteristic> &) override {}
  void writeValue(const ZVData &value, const std::shared_ptr<ZVBleCharacteristic> &,
                  int64_t) override {
    bytes.fetch_add(value.size(), std::memory_order_relaxed);
  }
  void setNotifyValue(bool, const std::shared_ptr<ZVBleCharacteristic> &) override {}
  void readRSSI() override {}
  std::atomic<uint64_t> bytes{0};
};

void BM_WritePathCpu(benchmark::State &state) {
  central(); // virtual clock; the end-of-send timer passes at once
  auto &link = ZVPeripheralManager::share();
  auto peripheral = std::make_shared<NullPeripheral>();
  link.setPeripheral(peripheral);
  link.setCharacteristicWrite(std::make_shared<ZVBleCharacteristic>("FF02", 0x04));
  link.setWriteType(ZVBleWriteWithoutResponse);
  link.setMTU(state.range(0));
  link.setIvtMaxCredit(1 << 30);
  link.setCredit(1 << 30);
  link.setIsConnected(true);
  const ZVData &job = printJob();
  for (auto _ : state) {
    if (!sendAndWait(link, job)) {
      state.SkipWithError("send did not complete");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(job.size()));
  link.setIsConnected(false);
}
BENCHMARK(BM_WritePathCpu)
    ->ArgName("chunk")
    ->Arg(20)
    ->Arg(180)
    ->Arg(244)
    ->Unit(benchmark::kMillisecond);

} // namespace
