// How the printer's parser cuts TSPL text into lines, whole or in pieces:
// line ends, carriage returns, spoilt keywords and junk.
#include "backends/sim/printer_stream_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Keywords in order, junk as "!<count>", other errors as "?".
std::string parse(const std::string &text, size_t piece) {
  zv::detail::PrinterStreamParser parser;
  std::vector<zv::detail::PrinterEvent> events;
  for (size_t at = 0; at < text.size(); at += piece) {
    const std::string part = text.substr(at, piece);
    parser.feed({reinterpret_cast<const uint8_t *>(part.data()), part.size()}, events);
  }
  parser.finish(events);
  std::string seen;
  for (const auto &event : events) {
    if (const auto *command = std::get_if<zv::detail::TsplCommand>(&event)) {
      seen += command->keyword;
      for (const auto &argument : command->arguments)
        seen += "|" + argument;
      seen += " ";
    } else if (const auto *error = std::get_if<zv::detail::StreamError>(&event)) {
      const size_t skipped = error->message.find("skipped ");
      seen += skipped == 0 ? "!" + error->message.substr(8, error->message.find(' ', 8) - 8) + " "
                           : "? ";
    }
  }
  return seen;
}

TEST(TsplLines, CutTheSameWayInAnyPieces) {
  const std::string longLine = "TEXT " + std::string(5000, 'x') + "\n";
  const struct {
    std::string text;
    std::string expected;
  } cases[] = {
      {"SIZE 4 mm,2 mm\r\nCLS\nPRINT 1,2\r\n", "SIZE|4 mm|2 mm CLS PRINT|1|2 "},
      {"CLS\r", "CLS "},                           // a CR at the very end ends the line
      {"CLS\r\rPRINT 1\r\n", "!5 PRINT|1 "},       // CR CR is not a line end
      {"SIZe 4\nCLS\n", "!7 CLS "},                // a lower-case letter spoils it...
      {"SIZE4mm\nCLS\n", "!8 CLS "},               // ...before the first blank
      {"TEXT 10,\"a\tb\"\n", "TEXT|10|\"a\tb\" "}, // tabs are text
      {"ABC\x01"
       "DEF\n",
       "!4 DEF "},                         // junk, then the line after it
      {longLine + "CLS\n", "? !910 CLS "}, // 4096 bytes reported, the rest is junk
      {std::string(3000, 'A') + "\x02" + "CLS\n", "!3001 CLS "},
  };
  for (const auto &c : cases) {
    for (const size_t piece : {size_t{1}, size_t{3}, size_t{4096}, c.text.size()}) {
      EXPECT_EQ(parse(c.text, piece), c.expected)
          << "piece " << piece << ": " << c.text.substr(0, 40);
    }
  }
}

} // namespace
