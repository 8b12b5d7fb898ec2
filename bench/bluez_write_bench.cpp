// The BlueZ backend's write path over D-Bus, against the fake org.bluez on a
// private bus: chunks per second and bytes per second with WriteValue
// (type "command", one D-Bus call per chunk) and with the AcquireWrite
// socket, for the chunk sizes of real modules. The radio's bound for 244-byte
// chunks is about 98 kB/s on a 1M PHY with data length extension and 175 kB/s
// on 2M; D-Bus should stay well above it. Each iteration sends 400 chunks and
// waits until the fake has taken them all.

#include "bluez/fake_bluez.h"
#include "bluez/private_bus.h"

#include <zvprinter/ZVBluezCentral.h>
#include <zvprinter/ZVRunLoop.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>

namespace {

struct Link : ZVBlePeripheralDelegate, ZVBleCentralDelegate {
  int services = 0, characteristics = 0, connects = 0;
  void didConnectPeripheral(ZVBleCentral &, const std::shared_ptr<ZVBlePeripheral> &) override {
    ++connects;
  }
  void didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &,
                           const std::optional<ZVError> &) override {
    ++services;
  }
  void didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &,
                                  const std::shared_ptr<ZVBleService> &,
                                  const std::optional<ZVError> &) override {
    ++characteristics;
  }
};

void writePath(benchmark::State &state, bool acquireWrite) {
  const auto chunk = static_cast<size_t>(state.range(0));
  constexpr uint64_t kChunks = 400;
  zv::test::PrivateBus bus;
  zv::test::FakeBluezConfig config;
  config.acquireWrite = acquireWrite;
  config.printFinishDelay = 1e9; // never finish a job while measuring
  zv::test::FakeBluez fake(bus.address(), config);
  ZVRunLoop loop;
  auto central = ZVBluezCentral::make({"", bus.address()}, loop);
  auto link = std::make_shared<Link>();
  central->setDelegate(link);
  loop.runUntil([&] { return central->state() == ZVBleCentralStatePoweredOn; }, 10);
  auto peripheral = central->retrievePeripherals({"00:AA:01:01:00:01"}).at(0);
  peripheral->setDelegate(link);
  central->connect(peripheral);
  loop.runUntil([&] { return link->connects == 1; }, 10);
  peripheral->discoverServices(std::vector<std::string>{"FF00"});
  loop.runUntil([&] { return link->services == 1; }, 10);
  peripheral->discoverCharacteristics(std::nullopt, peripheral->services().at(0));
  loop.runUntil([&] { return link->characteristics == 1; }, 10);
  auto in = peripheral->services().at(0)->characteristic("FF02");
  if (!in) {
    state.SkipWithError("no FF02");
    return;
  }
  const ZVData value(chunk, 0x00);
  uint64_t sent = 0;
  for (auto _ : state) {
    for (uint64_t i = 0; i < kChunks; ++i) {
      peripheral->writeValue(value, in, ZVBleWriteWithoutResponse);
    }
    sent += kChunks;
    while (fake.socketWrites() + fake.busWrites() < sent) {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }
  state.counters["chunks/s"] =
      benchmark::Counter(static_cast<double>(sent), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<int64_t>(sent * chunk));
}

void WriteValueCommand(benchmark::State &state) {
  writePath(state, false);
}
void AcquireWriteSocket(benchmark::State &state) {
  writePath(state, true);
}

BENCHMARK(WriteValueCommand)->Arg(20)->Arg(182)->Arg(244)->Arg(512)->UseRealTime();
BENCHMARK(AcquireWriteSocket)->Arg(20)->Arg(182)->Arg(244)->Arg(512)->UseRealTime();

} // namespace
