#include "framing/framing_support.h"
#include "framing/lzo_bound.h"

#include <zvprinter/ZVPrinterC.h>

#include <gtest/gtest.h>

#include <latch>
#include <thread>

namespace {

ZVData compress(std::span<const uint8_t> input) {
  ZVData out(zv::detail::lzoWorstCase(input.size()));
  out.resize(zv_lzo_compress(input.data(), static_cast<uint32_t>(input.size()), out.data()));
  return out;
}

TEST(LzoCompress, EmptyAndShortInputsAreLiteralRunsAndBadBuffersNothing) {
  EXPECT_EQ(compress({}), (ZVData{0x11, 0x00, 0x00}));
  EXPECT_EQ(compress(ZVData{0x41, 0x42, 0x43, 0x44, 0x45}),
            (ZVData{0x16, 0x41, 0x42, 0x43, 0x44, 0x45, 0x11, 0x00, 0x00}));
  for (size_t n = 1; n <= 13; ++n) {
    const ZVData input(n, 0x55); // even a run, which would otherwise match
    ZVData expected(n + 4, 0x55);
    expected[0] = static_cast<uint8_t>(17 + n);
    expected[n + 1] = 0x11;
    expected[n + 2] = expected[n + 3] = 0x00;
    EXPECT_EQ(compress(input), expected) << n;
  }
  uint8_t out[80] = {};
  const uint8_t in[4] = {1, 2, 3, 4};
  EXPECT_EQ(zv_lzo_compress(in, 4, nullptr), 0u);
  EXPECT_EQ(zv_lzo_compress(nullptr, 4, out), 0u);
  EXPECT_EQ(out[0], 0);
}

TEST(LzoCompress, RoundTripsAndStaysWithinTheWorstCase) {
  for (const size_t size : {14u, 100u, 1440u, 300000u}) {
    for (const ZVData &input : {zv::test::randomBytes(size, uint32_t(size)), ZVData(size, 0xFF),
                                zv::test::noiseWithRuns(size, 3)}) {
      const ZVData packed = compress(input);
      EXPECT_LE(packed.size(), zv::detail::lzoWorstCase(size));
      EXPECT_EQ(zv::test::decompress(packed, size + 1), input) << size;
    }
    EXPECT_TRUE(size < 1440 || compress(ZVData(size, 0xFF)).size() < size / 10) << size;
  }
}

TEST(LzoCompress, ConcurrentCallsDoNotDisturbEachOther) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 200;
  std::vector<ZVData> inputs;
  for (int t = 0; t < kThreads; ++t)
    inputs.push_back(zv::test::noiseWithRuns(60000 + 97 * t, t));
  // The match finder checks every candidate, so a shared dictionary would
  // still give valid streams, only different ones: each stream must equal
  // the one-thread stream.
  std::vector<ZVData> expected;
  for (const ZVData &input : inputs)
    expected.push_back(compress(input));

  std::vector<std::vector<ZVData>> streams(kThreads);
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round)
        streams[t].push_back(compress(inputs[t]));
    });
  for (auto &thread : threads)
    thread.join();
  for (int t = 0; t < kThreads; ++t)
    for (const ZVData &stream : streams[t]) {
      ASSERT_EQ(stream, expected[t]) << t;
    }
}

} // namespace
