// Throughput of the printer's reply resolver: a stream of garbage (one long
// unexplained run) and a stream of replies, fed in notification-sized pieces.
#include <zvprinter/ZVTarvoResolver.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

constexpr std::size_t kPiece = 20; // a typical notification payload

void feedInPieces(benchmark::State &state, const ZVData &stream) {
  for (auto _ : state) {
    ZVTarvoResolver resolver;
    std::size_t replies = 0;
    resolver.setResolvedBlock([&](const std::shared_ptr<ZVCommonResolveModel> &) { ++replies; });
    for (std::size_t at = 0; at < stream.size(); at += kPiece) {
      const auto end =
          stream.begin() + static_cast<std::ptrdiff_t>(std::min(at + kPiece, stream.size()));
      resolver.readDeviceInput(ZVData(stream.begin() + static_cast<std::ptrdiff_t>(at), end));
    }
    benchmark::DoNotOptimize(replies);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * stream.size()));
}

void BM_Garbage(benchmark::State &state) {
  ZVData stream(static_cast<std::size_t>(state.range(0)));
  for (std::size_t i = 0; i < stream.size(); ++i)
    stream[i] = static_cast<uint8_t>(i * 37 + 11);
  feedInPieces(state, stream);
}

void BM_StatusReplies(benchmark::State &state) {
  const std::string reply = std::string("tarvo_sta=") + '\x05';
  ZVData stream;
  while (stream.size() < static_cast<std::size_t>(state.range(0)))
    stream.insert(stream.end(), reply.begin(), reply.end());
  feedInPieces(state, stream);
}

} // namespace

BENCHMARK(BM_Garbage)->Arg(1 << 12)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK(BM_StatusReplies)->Arg(1 << 12)->Arg(1 << 16)->Arg(1 << 20);
