// The virtual printer's paper: packed bands, a roll measured by the area it
// really takes, and a PNG made from the packed rows.
#include "backends/sim/paper.h"
#include "backends/sim/raster_decompressor.h"

#include "backends/printer_bytes_support.h"

#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>

namespace {

using zv::detail::Paper;

TEST(Paper, RollCountsEveryRowAsWideAsTheWidest) {
  struct Case {
    const char *name;
    uint64_t rollBytes, rollRows;
    std::vector<std::pair<uint32_t, uint32_t>> bands; // width bytes, rows
    size_t rows;
    Paper::Append last;
  };
  const Case cases[] = {
      {"fits", 100, 0, {{1, 20}, {2, 30}}, 50, Paper::Append::Printed},
      // 60 one-byte rows, then a 2-byte band: 60 rows of 2 bytes already
      // take 120 bytes, more than the roll, so nothing of it prints.
      {"wider band counts old rows", 100, 0, {{1, 60}, {2, 10}}, 60, Paper::Append::OutOfPaper},
      {"cut within a band", 100, 0, {{4, 30}}, 25, Paper::Append::OutOfPaper},
      {"row limit", 1000, 40, {{1, 30}, {1, 30}}, 40, Paper::Append::OutOfPaper},
      {"one-byte rows of a 65535-row frame",
       4096,
       0,
       {{1, 65535}},
       4096,
       Paper::Append::OutOfPaper},
  };
  for (const Case &c : cases) {
    Paper paper(c.rollBytes, 0, c.rollRows);
    Paper::Append last = Paper::Append::Printed;
    for (const auto &[width, rows] : c.bands)
      last = paper.appendRows(width, rows, ZVData(size_t{width} * rows, 0x00), true);
    EXPECT_EQ(paper.rowCount(), c.rows) << c.name;
    EXPECT_EQ(last, c.last) << c.name;
  }
}

TEST(Paper, RowsComeBackFromTheirBandsAndThePngShowsThem) {
  Paper paper(1 << 20, 12);                               // a 12-dot head clips the 3-byte band
  paper.appendRows(1, 2, ZVData{0x7F, 0xFF}, true);       // one dot at the left
  paper.appendRows(3, 1, ZVData{0xFF, 0xF0, 0x00}, true); // dots 12..15 clipped
  paper.appendRows(2, 1, ZVData{0x80, 0x01}, false);      // 1 = dot
  paper.appendRows(2, 5, ZVData{0x00}, true);             // not held: dropped
  ASSERT_EQ(paper.rowCount(), 4u);
  EXPECT_EQ(paper.widthDots(), 12u);
  EXPECT_EQ(ZVData(paper.row(0).begin(), paper.row(0).end()), (ZVData{0x80}));
  EXPECT_EQ(ZVData(paper.row(1).begin(), paper.row(1).end()), (ZVData{0x00}));
  EXPECT_EQ(ZVData(paper.row(2).begin(), paper.row(2).end()), (ZVData{0x00, 0x00}));
  EXPECT_EQ(ZVData(paper.row(3).begin(), paper.row(3).end()), (ZVData{0x80, 0x00}));

  const auto png = ZVImage::fromEncoded(paper.png());
  const auto rgba = paper.image();
  ASSERT_TRUE(png && rgba);
  ASSERT_EQ(png->pixelWidth(), 12u);
  ASSERT_EQ(png->pixelHeight(), 4u);
  EXPECT_TRUE(
      std::equal(png->rgba().begin(), png->rgba().end(), rgba->rgba().begin(), rgba->rgba().end()));
  EXPECT_EQ(png->rgba()[0], 0);   // the dot of row 0
  EXPECT_EQ(png->rgba()[4], 255); // paper beside it
  EXPECT_TRUE(Paper().png().empty());
}

TEST(LzoBound, RefusesOnlyWhatNoStreamCanExpandTo) {
  // The densest stream the compressor makes (all one byte) is well inside
  // the bound; a claim beyond 256 bytes per stream byte is refused.
  for (const size_t size : {size_t{1}, size_t{300}, size_t{65535}, size_t{16} << 20}) {
    const ZVData stream = zvtest::lzoCompress(ZVData(size, 0xFF));
    EXPECT_TRUE(zv::detail::lzoCanExpandTo(stream.size(), size)) << size;
  }
  EXPECT_TRUE(zv::detail::lzoCanExpandTo(3, 1024));
  EXPECT_FALSE(zv::detail::lzoCanExpandTo(3, 1025));
  std::string reason;
  EXPECT_FALSE(zv::detail::decompressRaster(ZVData{0x11, 0, 0}, 16 << 20, reason));
  EXPECT_NE(reason.find("cannot expand to"), std::string::npos) << reason;
}

} // namespace
