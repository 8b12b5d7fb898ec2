// The virtual printer fed bytes directly: what it prints and what it answers.
#include "backends/printer_bytes_support.h"

#include <zvprinter/ZVVirtualPrinter.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace zvtest;

namespace {

// Feeds @p stream in pieces of the given sizes (cycled), then ends input.
std::vector<ZVData> feedInPieces(ZVVirtualPrinter &printer, const ZVData &stream,
                                 std::vector<size_t> pieces) {
  std::vector<ZVData> replies;
  size_t at = 0;
  for (size_t i = 0; at < stream.size(); ++i) {
    const size_t n = std::min(pieces[i % pieces.size()], stream.size() - at);
    auto more = printer.receive(std::span(stream).subspan(at, n));
    replies.insert(replies.end(), more.begin(), more.end());
    at += n;
  }
  auto last = printer.endOfInput();
  replies.insert(replies.end(), last.begin(), last.end());
  return replies;
}

// The source raster as the paper should show it: bit 0 = dot, so inverted.
std::vector<ZVData> expectedRows(const ZVData &raster, uint32_t widthBytes) {
  std::vector<ZVData> rows;
  for (size_t at = 0; at < raster.size(); at += widthBytes) {
    ZVData row(raster.begin() + static_cast<std::ptrdiff_t>(at),
               raster.begin() + static_cast<std::ptrdiff_t>(at + widthBytes));
    for (auto &b : row)
      b = static_cast<uint8_t>(~b);
    rows.push_back(row);
  }
  return rows;
}

TEST(VirtualPrinterStream, FramedImagePrintsTheSourceRasterWhateverThePieces) {
  const ZVData raster = patternRaster(48, 100);
  ZVData stream;
  for (uint32_t row = 0; row < 100; row += 30) {
    const uint16_t rows = static_cast<uint16_t>(std::min(30u, 100 - row));
    append(stream, printFrame(48, rows, std::span(raster).subspan(row * 48, rows * 48)));
  }
  for (const auto &pieces : std::vector<std::vector<size_t>>{{stream.size()}, {1}, {3, 17, 5}}) {
    ZVVirtualPrinter printer;
    const auto replies = feedInPieces(printer, stream, pieces);
    EXPECT_EQ(printer.paperRows(), expectedRows(raster, 48));
    EXPECT_EQ(replies, std::vector<ZVData>{bytes(std::string("dithering_finis") + '\0')});
    const auto image = printer.paperImage();
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixelHeight(), 100u);
    EXPECT_EQ(image->rgba()[0], (raster[0] & 0x80) ? 255 : 0); // bit 1: no dot, white
  }
}

TEST(VirtualPrinterStream, MalformedStreamsAreReportedAndPrintingGoesOn) {
  const ZVData raster = patternRaster(4, 2);
  ZVData stream = bytes("\x01\x02\x03");
  append(stream, printFrame(4, 2, raster));
  // A header claiming 65535 x 65535 bytes: reported and skipped, nothing huge
  // is allocated, and the frame after it still prints.
  append(stream, ZVData{0x1D, 0x76, 0x30, 0x30, 0xFF, 0xFF, 0xFF, 0xFF, 0x05, 0, 0, 0});
  append(stream, ZVData{1, 2, 3, 4, 5});
  ZVData corrupt = printFrame(4, 2, raster);
  corrupt[12] += 1; // one literal too many: the stream overruns the raster
  append(stream, corrupt);
  append(stream, printFrame(4, 2, raster));
  append(stream, ZVData{0x1D, 0x76, 0x30, 0x30, 4, 0, 2, 0}); // cut short
  ZVVirtualPrinter printer;
  feedInPieces(printer, stream, {7});
  EXPECT_EQ(printer.paperRows().size(), 4u);
  const auto errors = printer.streamErrors();
  ASSERT_EQ(errors.size(), 4u) << ::testing::PrintToString(errors);
  EXPECT_NE(errors[0].find("at byte 0: skipped 3 unrecognised bytes"), std::string::npos);
}

TEST(VirtualPrinterStream, TsplLabelWithRawAndCompressedBitmaps) {
  // 2 x 3 bytes, bit 0 = dot: the first row all dots.
  const ZVData raster{0x00, 0x00, 0xFF, 0xFF, 0x7F, 0xFE};
  ZVData job = bytes("SIZE 4 mm,2 mm\r\nGAP 2 mm,0 mm\r\nDIRECTION 0,0\r\nCLS\r\n");
  append(job, tsplBitmap(8, 1, 2, 3, 0, raster, false));
  append(job, bytes("PRINT 1,1\r\n"));
  append(job, bytes("CLS\r\n"));
  append(job, tsplBitmap(8, 1, 2, 3, 0, raster, true));
  append(job, bytes("PRINT 1,2\r\n"));
  ZVVirtualPrinter printer;
  const auto replies = feedInPieces(printer, job, {5});
  EXPECT_TRUE(printer.streamErrors().empty()) << ::testing::PrintToString(printer.streamErrors());
  const auto rows = printer.paperRows();
  ASSERT_EQ(rows.size(), 3u * 16); // three labels of 2 mm = 16 dots
  for (size_t label = 0; label < 3; ++label) {
    const size_t top = label * 16;
    EXPECT_EQ(rows[top], (ZVData{0, 0, 0, 0}));
    EXPECT_EQ(rows[top + 1], (ZVData{0, 0xFF, 0xFF, 0}));
    EXPECT_EQ(rows[top + 2], (ZVData{0, 0, 0, 0}));
    EXPECT_EQ(rows[top + 3], (ZVData{0, 0x80, 0x01, 0}));
  }
  EXPECT_EQ(replies.size(), 2u); // one "dithering_finis" per PRINT
}

TEST(VirtualPrinterStream, BitmapModesPositionsAndRawPayloadsThatLookLikeALength) {
  struct Case {
    std::vector<ZVData> bitmaps;
    std::vector<std::pair<size_t, ZVData>> rows;
  };
  const std::vector<Case> cases{
      {{tsplBitmap(0, 0, 1, 1, 0, ZVData{0x0F}),   // dots at x 0..3
        tsplBitmap(2, 0, 1, 1, 2, ZVData{0x00}),   // XOR dots at x 2..9
        tsplBitmap(-4, 1, 1, 1, 1, ZVData{0x00})}, // OR, half off the label
       {{0, {0xCF, 0xC0}}, {1, {0xF0, 0x00}}, {2, {0x00, 0x00}}}},
      {{tsplBitmap(0, 0, 2, 4, 0, ZVData{0x05, 0x00, 0x00, 0x00, 0xFF, 0x7F, 0x00, 0xFF})},
       {{0, {0xFA, 0xFF}}, {2, {0x00, 0x80}}, {3, {0xFF, 0x00}}}}};
  for (const auto &c : cases) {
    ZVData job = bytes("SIZE 2 mm,1 mm\r\nCLS\r\n");
    for (const auto &bitmap : c.bitmaps)
      append(job, bitmap);
    append(job, bytes("PRINT 1\r\n"));
    ZVVirtualPrinter printer;
    feedInPieces(printer, job, {1});
    EXPECT_TRUE(printer.streamErrors().empty()) << ::testing::PrintToString(printer.streamErrors());
    const auto rows = printer.paperRows();
    ASSERT_EQ(rows.size(), 8u);
    for (const auto &[at, row] : c.rows)
      EXPECT_EQ(rows[at], row) << "row " << at;
  }
}

TEST(VirtualPrinterStream, StatusDeviceAndWifiCommandsAreAnswered) {
  ZVVirtualPrinter printer;
  ZVData stream{0x1B, 0x21, 0x3F, 0x0D, 0x0A, 0x1B, 0x1B, 0x09, 0x01};
  for (const char *command :
       {"getval \"printer_name\"", "setval \"auto_wifi\" \"6WM:STA\"",
        "setval \"auto_wifi\" \"9WS:office\"", "setval \"auto_wifi\" \"3WP:\"",
        "setval \"auto_wifi\" \"4WA:12\"", "setval \"auto_wifi\" \"bogus\"", "getval \"auto_wifi\"",
        "do \"restart_wifi\""})
    append(stream, bytes(std::string("\x1B\x1C& V1 ") + command + "\r\n"));
  append(stream, printFrame(1, 1, ZVData{0x00}));
  const auto replies = feedInPieces(printer, stream, {2});
  std::vector<std::string> got;
  for (const auto &reply : replies)
    got.emplace_back(reply.begin(), reply.end());
  EXPECT_EQ(got, (std::vector<std::string>{
                     std::string("tarvo_sta=\x80"), "printer_name=ZV-P1\r\n", "auto_wifi=OK\r\n",
                     "auto_wifi=OK\r\n", "auto_wifi=OK\r\n", "auto_wifi=OK\r\n",
                     "auto_wifi=ERROR\r\n", "auto_wifi=WM:STA;WS:office;WI:;WA:12\r\n",
                     "restart_wifi=OK\r\n", std::string("tarvo_sta=\x81"),
                     std::string("dithering_finis") + '\0', std::string("tarvo_sta=\x80")}));
}

TEST(VirtualPrinterStream, PaperOutPrintsNothingAndSaysSo) {
  ZVVirtualPrinter printer;
  printer.faults().paperOut = true;
  ZVData stream = printFrame(1, 1, ZVData{0x00});
  append(stream, ZVData{0x1B, 0x21, 0x3F, 0x0D, 0x0A});
  const auto replies = feedInPieces(printer, stream, {100});
  ASSERT_EQ(replies.size(), 1u);
  EXPECT_EQ(replies[0].back(), 0x85); // printing + out of paper
  EXPECT_TRUE(printer.paperRows().empty());
}

TEST(VirtualPrinterStream, FirmwareFramesAreCheckedAcknowledgedAndReassembled) {
  ZVData image(5000);
  for (size_t i = 0; i < image.size(); ++i)
    image[i] = static_cast<uint8_t>(i * 7 + 3);
  ZVVirtualPrinter printer;
  const auto frame = [&](uint32_t offset, size_t n, bool corrupt = false) {
    return firmwareFrame(offset, std::span(image).subspan(offset, n), corrupt);
  };
  const auto ack = [](uint32_t offset, uint8_t result) {
    return ZVData{
        0x1B, 0x1C,   0x26, static_cast<uint8_t>(offset), static_cast<uint8_t>(offset >> 8),
        0,    result, 0};
  };
  EXPECT_EQ(printer.receive(frame(0, 2016)), std::vector<ZVData>{ack(0, 0)});
  EXPECT_EQ(printer.receive(frame(2016, 2016, true)), std::vector<ZVData>{ack(2016, 1)});
  EXPECT_EQ(printer.receive(frame(4032, 968)), std::vector<ZVData>{ack(4032, 3)}); // gap
  printer.faults().firmwareRejections = 1;
  EXPECT_EQ(printer.receive(frame(2016, 2016)), std::vector<ZVData>{ack(2016, 4)});
  printer.faults().firmwareSilences = 1;
  EXPECT_TRUE(printer.receive(frame(2016, 2016)).empty());
  ZVData rest = frame(2016, 2016);
  append(rest, frame(4032, 968));
  EXPECT_EQ(printer.receive(rest), (std::vector<ZVData>{ack(2016, 0), ack(4032, 0)}));
  EXPECT_EQ(printer.firmwareImage(), image);
}

} // namespace
