#include "job/reply_lines.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

void feed(zv::detail::ReplyLines &lines, const std::string &text) {
  lines.feed({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
}

TEST(ReplyLines, TakesTheNamedAnswerFromPiecesAndAmongOtherReplies) {
  zv::detail::ReplyLines lines;
  feed(lines, "tarvo_sta=\x80 junk printer_na");
  EXPECT_EQ(lines.take("printer_name"), std::nullopt);
  feed(lines, "me=ZV-P1\r");
  EXPECT_EQ(lines.take("printer_name"), std::nullopt);
  feed(lines, "\nserial_no=42\r\n");
  EXPECT_EQ(lines.take("serial_no"), "42"); // lines before it are consumed unread
  EXPECT_EQ(lines.take("printer_name"), std::nullopt);
  feed(lines, "auto_wifi=ERROR\r\nauto_wifi=OK\r\n");
  EXPECT_EQ(lines.take("auto_wifi"), "ERROR");
  EXPECT_EQ(lines.take("auto_wifi"), "OK");
}

TEST(ReplyLines, AnEndlessLineDoesNotGrowWithoutBound) {
  zv::detail::ReplyLines lines;
  const std::string chunk(1000, 'x');
  for (int i = 0; i < 100; ++i)
    feed(lines, chunk);
  feed(lines, "a=1\r\n");
  EXPECT_EQ(lines.take("a"), "1");
}

} // namespace
