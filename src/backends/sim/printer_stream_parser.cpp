#include "backends/sim/printer_stream_parser.h"

#include "backends/sim/raster_decompressor.h"
#include "backends/sim/stream_bytes.h"
#include "framing/checksum.h"

#include <algorithm>
#include <string_view>

namespace zv::detail {

namespace {

constexpr uint8_t kEsc = 0x1B;
constexpr size_t kFrameHeader = 12;
constexpr size_t kMaxCommandLine = 512;
constexpr uint32_t kMaxFirmwareChunk = 2016;

bool isBlank(uint8_t b) {
  return b == '\r' || b == '\n' || b == ' ' || b == '\t' || b == 0;
}

// Parses ` V1 verb "name"` or ` V1 verb "name" "value"` (the text after &).
std::optional<DeviceCommand> parseCommandText(std::string_view text) {
  constexpr std::string_view kVersion = " V1 ";
  if (!text.starts_with(kVersion)) return std::nullopt;
  text.remove_prefix(kVersion.size());
  const size_t space = text.find(' ');
  if (space == std::string_view::npos || space == 0) return std::nullopt;
  DeviceCommand command;
  command.verb = std::string(text.substr(0, space));
  text.remove_prefix(space + 1);
  if (text.size() < 2 || text.front() != '"') return std::nullopt;
  const size_t close = text.find('"', 1);
  if (close == std::string_view::npos) return std::nullopt;
  command.name = std::string(text.substr(1, close - 1));
  text.remove_prefix(close + 1);
  if (text.empty()) return command;
  // The value runs to the last quote, so a value may itself hold quotes.
  if (text.size() < 3 || !text.starts_with(" \"") || text.back() != '"') return std::nullopt;
  command.value = std::string(text.substr(2, text.size() - 3));
  return command;
}

} // namespace

void PrinterStreamParser::error(std::vector<PrinterEvent> &out, std::string message) const {
  out.emplace_back(StreamError{base_ + pos_, std::move(message)});
}

void PrinterStreamParser::flushGarbage(std::vector<PrinterEvent> &events) {
  if (garbageCount_ == 0) return;
  events.emplace_back(StreamError{
      garbageStart_, "skipped " + std::to_string(garbageCount_) +
                         (garbageCount_ == 1 ? " unrecognised byte" : " unrecognised bytes")});
  garbageCount_ = 0;
}

void PrinterStreamParser::feed(std::span<const uint8_t> bytes, std::vector<PrinterEvent> &events) {
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  process(false, events);
}

void PrinterStreamParser::finish(std::vector<PrinterEvent> &events) {
  process(true, events);
  flushGarbage(events);
  base_ += buffer_.size();
  buffer_.clear();
  pos_ = 0;
}

void PrinterStreamParser::process(bool atEnd, std::vector<PrinterEvent> &events) {
  std::vector<PrinterEvent> step;
  while (true) {
    if (skip_ > 0) {
      const size_t dropped = static_cast<size_t>(std::min<uint64_t>(skip_, buffer_.size() - pos_));
      pos_ += dropped;
      skip_ -= dropped;
      if (skip_ > 0) break;
    }
    if (pos_ == buffer_.size()) break;
    const std::span<const uint8_t> in(buffer_.data() + pos_, buffer_.size() - pos_);
    step.clear();
    const Step result = parseOne(in, atEnd, step);
    if (result.outcome == Outcome::NeedMore) break;
    if (result.outcome == Outcome::Garbage) {
      if (garbageCount_++ == 0) garbageStart_ = base_ + pos_;
      ++pos_;
      continue;
    }
    flushGarbage(events);
    std::move(step.begin(), step.end(), std::back_inserter(events));
    pos_ += result.consumed;
  }
  // Keep the buffer from growing with everything ever fed.
  if (pos_ > 4096 && pos_ * 2 > buffer_.size()) {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(pos_));
    base_ += pos_;
    pos_ = 0;
  }
}

PrinterStreamParser::Step PrinterStreamParser::truncated(std::span<const uint8_t> in, bool atEnd,
                                                         const char *what,
                                                         std::vector<PrinterEvent> &out) {
  if (!atEnd) return {Outcome::NeedMore};
  error(out, std::string("stream ends inside ") + what + " (" + std::to_string(in.size()) +
                 " bytes dropped)");
  return {Outcome::Consumed, in.size()};
}

PrinterStreamParser::Step PrinterStreamParser::parseOne(std::span<const uint8_t> in, bool atEnd,
                                                        std::vector<PrinterEvent> &out) {
  const uint8_t first = in[0];
  if (first == 0x1D) return parseFrame(in, atEnd, out);
  if (first == kEsc) return parseEscape(in, atEnd, out);
  if (first >= 'A' && first <= 'Z') return parseTspl(in, atEnd, out);
  // Blanks separate commands, but inside a run of junk they are junk too.
  if (isBlank(first))
    return garbageCount_ > 0 ? Step{Outcome::Garbage} : Step{Outcome::Consumed, 1};
  return {Outcome::Garbage};
}

PrinterStreamParser::Step PrinterStreamParser::parseFrame(std::span<const uint8_t> in, bool atEnd,
                                                          std::vector<PrinterEvent> &out) {
  static constexpr uint8_t kMarker[] = {0x1D, 0x76, 0x30, 0x30};
  const size_t known = std::min(in.size(), sizeof kMarker);
  if (!std::equal(kMarker, kMarker + known, in.begin())) return {Outcome::Garbage};
  if (in.size() < kFrameHeader) return truncated(in, atEnd, "a print-data frame header", out);
  const uint32_t width = readLE16(in, 4);
  const uint32_t rows = readLE16(in, 6);
  const uint64_t length = readLE32(in, 8);
  const uint64_t raw = uint64_t{width} * rows;
  const std::string shape = std::to_string(width) + " x " + std::to_string(rows) + " bytes, " +
                            std::to_string(length) + "-byte stream";
  if (width == 0 || rows == 0 || length < 3 || length > lzoWorstCase(raw)) {
    error(out, "print-data frame header makes no sense (" + shape + "); header skipped");
    return {Outcome::Consumed, kFrameHeader};
  }
  if (raw > kMaxRasterBytes) {
    error(out, "print-data frame too large for the printer (" + shape + "); frame skipped");
    skip_ = length;
    return {Outcome::Consumed, kFrameHeader};
  }
  // Checked before any buffer is made for the raster: a few bytes of stream
  // must not cost megabytes.
  if (!lzoCanExpandTo(length, raw)) {
    error(out, "print-data frame (" + shape + ") cannot expand to its raster; frame skipped");
    skip_ = length;
    return {Outcome::Consumed, kFrameHeader};
  }
  if (in.size() < kFrameHeader + length) return truncated(in, atEnd, "a print-data frame", out);
  std::string reason;
  auto bits = decompressRaster(in.subspan(kFrameHeader, length), raw, reason);
  if (bits) {
    out.emplace_back(RasterBand{width, rows, std::move(*bits)});
  } else {
    error(out, "print-data frame (" + shape + ") not printed: " + reason);
  }
  return {Outcome::Consumed, kFrameHeader + static_cast<size_t>(length)};
}

PrinterStreamParser::Step PrinterStreamParser::parseEscape(std::span<const uint8_t> in, bool atEnd,
                                                           std::vector<PrinterEvent> &out) {
  if (in.size() < 2) return atEnd ? Step{Outcome::Garbage} : Step{Outcome::NeedMore};
  if (in[1] == 0x21) { // ESC ! ? CR LF
    static constexpr uint8_t kQuery[] = {kEsc, 0x21, 0x3F, 0x0D, 0x0A};
    const size_t known = std::min(in.size(), sizeof kQuery);
    if (!std::equal(kQuery, kQuery + known, in.begin())) return {Outcome::Garbage};
    if (known < sizeof kQuery) return atEnd ? Step{Outcome::Garbage} : Step{Outcome::NeedMore};
    out.emplace_back(StatusQuery{});
    return {Outcome::Consumed, sizeof kQuery};
  }
  if (in[1] == kEsc) { // ESC ESC HT n
    if (in.size() >= 3 && in[2] != 0x09) return {Outcome::Garbage};
    if (in.size() < 4) return atEnd ? Step{Outcome::Garbage} : Step{Outcome::NeedMore};
    if (in[3] == 0x01 || in[3] == 0x03) {
      out.emplace_back(AutoStatusBack{in[3] == 0x01});
    } else {
      error(out, "unknown status-back setting " + std::to_string(in[3]));
    }
    return {Outcome::Consumed, 4};
  }
  if (in[1] == 0x1C) { // ESC FS &
    if (in.size() < 3) return atEnd ? Step{Outcome::Garbage} : Step{Outcome::NeedMore};
    if (in[2] != '&') return {Outcome::Garbage};
    return parseDeviceCommand(in, atEnd, out);
  }
  return {Outcome::Garbage};
}

PrinterStreamParser::Step PrinterStreamParser::parseDeviceCommand(std::span<const uint8_t> in,
                                                                  bool atEnd,
                                                                  std::vector<PrinterEvent> &out) {
  const auto window = in.first(std::min(in.size(), kMaxCommandLine));
  static constexpr uint8_t kCrLf[] = {'\r', '\n'};
  const auto crlf = std::search(window.begin(), window.end(), kCrLf, kCrLf + 2);
  if (crlf == window.end()) {
    if (in.size() < kMaxCommandLine && !atEnd) return {Outcome::NeedMore};
    error(out, "unterminated ESC FS command: " + printable(window));
    return {Outcome::Consumed, 3};
  }
  const size_t lineEnd = static_cast<size_t>(crlf - in.begin()) + 2;
  const std::string_view text(reinterpret_cast<const char *>(in.data()) + 3, lineEnd - 5);
  auto command = parseCommandText(text);
  if (!command) {
    error(out, "malformed ESC FS command: " + printable(in.subspan(2, lineEnd - 4)));
    return {Outcome::Consumed, lineEnd};
  }
  if (command->verb != "do" || command->name != "ota" || command->value) {
    out.emplace_back(std::move(*command));
    return {Outcome::Consumed, lineEnd};
  }
  if (in.size() < lineEnd + 12) return truncated(in, atEnd, "a firmware frame header", out);
  const uint32_t offset = readLE32(in, lineEnd);
  const uint32_t length = readLE32(in, lineEnd + 4);
  const uint32_t checksum = readLE32(in, lineEnd + 8);
  if (length == 0 || length > kMaxFirmwareChunk) {
    error(out,
          "firmware frame length " + std::to_string(length) + " outside 1..2016; header skipped");
    return {Outcome::Consumed, lineEnd + 12};
  }
  const size_t total = lineEnd + 12 + length;
  if (in.size() < total) return truncated(in, atEnd, "a firmware frame", out);
  FirmwareFrame frame;
  frame.offset = offset;
  frame.checksum = checksum;
  frame.chunk.assign(in.begin() + static_cast<std::ptrdiff_t>(lineEnd + 12),
                     in.begin() + static_cast<std::ptrdiff_t>(total));
  frame.checksumMatches = firmwareChecksum(frame.chunk) == checksum;
  out.emplace_back(std::move(frame));
  return {Outcome::Consumed, total};
}

} // namespace zv::detail
