// zvprint render, run as a user runs it, on hand-made printer bytes.
#include "tools/zvprint_runner.h"

#include "backends/printer_bytes_support.h"

#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>

namespace {

using RenderCommand = zvtest::ToolTest;

TEST_F(RenderCommand, PrintsFramesAndKeepsGoingPastDamage) {
  // Two frames of a 2-byte-wide raster with a stripe of dots (bit 0) in row 1.
  ZVData raster(2 * 40, 0xFF);
  raster[2] = raster[3] = 0x00;
  ZVData job = zvtest::printFrame(2, 30, std::span(raster).first(60));
  zvtest::append(job, ZVData{0xEE, 0xEE}); // junk between frames
  zvtest::append(job, zvtest::printFrame(2, 10, std::span(raster).subspan(60)));
  const auto result = zvtest::runZvprint({"render", file("job.bin", job), "-o", path("paper.png")});
  // The junk makes it a failure, but what could print is still written.
  EXPECT_EQ(result.status, 1) << result.errors;
  EXPECT_NE(result.output.find("printed 40 rows, 16 dots wide: 2 frames"), std::string::npos)
      << result.output;
  EXPECT_NE((result.output + result.errors).find("skipped 2 unrecognised bytes"),
            std::string::npos);
  const auto image = ZVImage::fromFile(path("paper.png"));
  ASSERT_TRUE(image);
  ASSERT_EQ(image->pixelWidth(), 16u);
  ASSERT_EQ(image->pixelHeight(), 40u);
  const auto px = [&](uint32_t x, uint32_t y) { return image->rgba()[(y * 16 + x) * 4]; };
  EXPECT_EQ(px(0, 0), 255);
  EXPECT_EQ(px(0, 1), 0);
  EXPECT_EQ(px(15, 1), 0);
  EXPECT_EQ(px(7, 39), 255);
}

} // namespace
