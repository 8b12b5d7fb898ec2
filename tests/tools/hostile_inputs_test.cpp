// Small hostile inputs must stay cheap: each runs zvprint under an address
// space limit (and a CPU limit that only a runaway reaches), so a blow-up
// shows as a killed or failed process, not as a slow test.
#include "tools/zvprint_runner.h"

#include "backends/printer_bytes_support.h"

#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>

namespace {

using zvtest::Limits;
using zvtest::runZvprint;

constexpr uint64_t kMiB = 1024 * 1024;
// zvprint maps about 30 MB of libraries and ICU data before it does anything.
constexpr uint64_t kBaseline = 48 * kMiB;

Limits within(uint64_t workMiB) {
  Limits limits;
  limits.addressSpaceBytes = kBaseline + workMiB * kMiB;
  limits.cpuSeconds = 5;
  return limits;
}

// Frames one byte wide and 65535 rows tall: about 300 bytes each, and each
// used to cost the paper 65535 row containers.
ZVData narrowFrames(size_t totalBytes) {
  const ZVData frame = zvtest::printFrame(1, 65535, ZVData(65535, 0x00));
  ZVData job;
  while (job.size() + frame.size() <= totalBytes)
    zvtest::append(job, frame);
  return job;
}

// Upper-case runs just under the TSPL line limit, each spoilt by a control
// byte: every letter starts a line that is tried and refused.
ZVData tsplJunk(size_t totalBytes) {
  ZVData junk;
  junk.reserve(totalBytes);
  while (junk.size() < totalBytes) {
    for (int i = 0; i < 4000; ++i)
      junk.push_back(static_cast<uint8_t>('A' + i % 26));
    junk.push_back(0x01);
  }
  return junk;
}

// AddressSanitizer reserves terabytes of address space for its shadow, so
// an address-space limit means nothing in such a build.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

class HostileInputs : public zvtest::ToolTest {
protected:
  void SetUp() override {
    if (kSanitized) GTEST_SKIP() << "memory limits do not apply under AddressSanitizer";
    ToolTest::SetUp();
  }
};

struct RenderCase {
  const char *name;
  ZVData (*job)();
  int status;
  const char *output; // expected in stdout
  uint64_t workMiB;
};

const RenderCase kRenderCases[] = {
    // 32 KB: about 100 frames, 7 million rows: the paper stops at its 1,000,000
    // rows, and the 85 frames after that must cost nothing.
    {"NarrowFrames32K", [] { return narrowFrames(32 * 1024); }, 1, "printed 1000000 rows, 8 dots",
     24},
    // A 1 m label printed a million times: the roll (100 million dots) runs out.
    {"HugeLabelCopies",
     [] { return zvtest::bytes("SIZE 1000 mm,1000 mm\r\nCLS\r\nPRINT 1000,1000\r\n"); }, 1,
     "printed 12500 rows, 8000 dots wide", 48},
    {"TsplJunk10M", [] { return tsplJunk(10 * kMiB); }, 1, "", 48},
    // A frame claiming 16 MB of raster from 300 bytes of stream.
    {"FrameClaimingTooMuch",
     [] {
       ZVData job = zvtest::printFrame(256, 255, ZVData(256 * 255, 0));
       job[4] = 0xFF, job[5] = 0xFF; // 65535 bytes wide
       return job;
     },
     1, "", 8},
};

class HostileRender : public HostileInputs, public ::testing::WithParamInterface<RenderCase> {};

TEST_P(HostileRender, StaysSmall) {
  const RenderCase &c = GetParam();
  const std::string job = file("job.bin", c.job());
  const auto result = runZvprint({"render", job, "-o", path("paper.png")}, within(c.workMiB));
  EXPECT_EQ(result.signal, 0) << "killed; stderr: " << result.errors;
  EXPECT_EQ(result.status, c.status) << result.errors;
  EXPECT_NE(result.output.find(c.output), std::string::npos) << result.output << result.errors;
  EXPECT_NE(result.errors.find("zvprint: "), std::string::npos);
  if (c.output[0] != '\0') {
    // The paper that could print is there, and zvprint itself can read it.
    const auto paper = ZVImage::fromFile(path("paper.png"));
    EXPECT_TRUE(paper.has_value());
  }
}

INSTANTIATE_TEST_SUITE_P(Jobs, HostileRender, ::testing::ValuesIn(kRenderCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(HostileInputs, PreviewAllRefusesAnOversizedSheetBeforeRendering) {
  // 5000 x 5000 decodes to 100 MB; the sheet would need 400 MB more.
  const std::string image = file("big.png", zvtest::grayPng(5000, 5000));
  const auto result = runZvprint({"preview", image, "--all", "-o", path("sheet.png")}, within(160));
  EXPECT_EQ(result.signal, 0) << result.errors;
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("too large to show four times side by side"), std::string::npos)
      << result.errors;
}

TEST_F(HostileInputs, WatermarkHoldsTheImageAndOneBandedCopy) {
  // 2000 x 10000: 80 MB decoded. The banded copy is the second 80 MB; a
  // third full copy does not fit.
  const std::string image = file("long.png", zvtest::grayPng(2000, 10000));
  const auto result = runZvprint(
      {"convert", image, "--watermark", "--compress", "0", "-o", path("out.bin")}, within(200));
  EXPECT_EQ(result.signal, 0) << result.errors;
  EXPECT_EQ(result.status, 0) << result.errors;
}

} // namespace
