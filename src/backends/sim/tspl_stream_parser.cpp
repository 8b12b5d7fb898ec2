// The TSPL half of the virtual printer's stream parser: text lines and the
// BITMAP command with its binary payload.
#include "backends/sim/printer_stream_parser.h"

#include "backends/sim/raster_decompressor.h"
#include "backends/sim/stream_bytes.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace zv::detail {

namespace {

constexpr size_t kMaxTsplLine = 4096;
constexpr size_t kMaxBitmapHeader = 96;
constexpr std::string_view kBitmap = "BITMAP ";

std::vector<std::string> splitArguments(std::string_view text) {
  std::vector<std::string> arguments;
  text = trimmed(text);
  if (text.empty()) return arguments;
  while (true) {
    const size_t comma = text.find(',');
    arguments.emplace_back(trimmed(text.substr(0, comma)));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  return arguments;
}

} // namespace

PrinterStreamParser::Step PrinterStreamParser::parseTspl(std::span<const uint8_t> in, bool atEnd,
                                                         std::vector<PrinterEvent> &out) {
  const std::string_view start(reinterpret_cast<const char *>(in.data()),
                               std::min(in.size(), kBitmap.size()));
  if (kBitmap.starts_with(start)) {
    if (start.size() < kBitmap.size() && !atEnd) return {Outcome::NeedMore};
    if (start == kBitmap) return parseBitmap(in, atEnd, out);
  }
  // Junk of upper-case letters is tried as a line at every byte; the two
  // scans remember their finds, so a run of it costs one pass in all.
  const size_t windowSize = std::min(in.size(), kMaxTsplLine);
  const uint64_t at = base_ + pos_;
  const size_t stop = static_cast<size_t>(controlScan_.next(in, at, at, at + windowSize) - at);
  const size_t lineLength = stop;
  size_t newline = windowSize; // windowSize: no line end within the window
  if (stop < windowSize) {
    const uint8_t control = in[stop];
    if (control == '\n') {
      newline = stop;
    } else if (control == '\r' && stop + 1 < windowSize && in[stop + 1] == '\n') {
      newline = stop + 1;
    } else if (control == '\r' && stop + 1 == in.size() && in.size() < kMaxTsplLine && !atEnd) {
      return {Outcome::NeedMore};
    } else if (control != '\r' || stop + 1 != windowSize) {
      return {Outcome::Garbage}; // control characters: not a text line after all
    }
  } else if (in.size() < kMaxTsplLine && !atEnd) {
    return {Outcome::NeedMore};
  }
  const std::string_view line(reinterpret_cast<const char *>(in.data()), lineLength);
  const size_t keywordEnd =
      static_cast<size_t>(keywordScan_.next(in, at, at, at + lineLength) - at);
  if (keywordEnd < lineLength && line[keywordEnd] != ' ') return {Outcome::Garbage};
  const std::string_view keyword = line.substr(0, keywordEnd);
  // The line and its LF; a line with no end in sight is cut at the window,
  // however the stream was split.
  const size_t consumed = newline == windowSize ? windowSize : newline + 1;
  if (newline == windowSize && !atEnd) {
    error(out, "TSPL line longer than " + std::to_string(kMaxTsplLine) + " bytes skipped");
    return {Outcome::Consumed, consumed};
  }
  out.emplace_back(TsplCommand{std::string(keyword), splitArguments(line.substr(keywordEnd))});
  return {Outcome::Consumed, consumed};
}

PrinterStreamParser::Step PrinterStreamParser::parseBitmap(std::span<const uint8_t> in, bool atEnd,
                                                           std::vector<PrinterEvent> &out) {
  // BITMAP x,y,width,height,mode, then the payload directly.
  size_t commas = 0;
  size_t headerEnd = 0;
  for (size_t i = kBitmap.size(); i < in.size() && i < kMaxBitmapHeader; ++i) {
    if (in[i] == ',' && ++commas == 5) {
      headerEnd = i + 1;
      break;
    }
  }
  if (headerEnd == 0) {
    if (in.size() < kMaxBitmapHeader && !atEnd) return {Outcome::NeedMore};
    error(out, "malformed BITMAP header: " + printable(in.first(std::min(in.size(), size_t{32}))));
    return {Outcome::Consumed, kBitmap.size()};
  }
  const std::string_view header(reinterpret_cast<const char *>(in.data()) + kBitmap.size(),
                                headerEnd - kBitmap.size() - 1);
  const auto fields = splitArguments(header);
  std::array<std::optional<int64_t>, 5> values;
  for (size_t i = 0; i < 5 && i < fields.size(); ++i)
    values[i] = parseInteger(fields[i]);
  const bool valid = std::all_of(values.begin(), values.end(), [](auto &v) { return v; }) &&
                     *values[2] >= 0 && *values[3] >= 0 && *values[2] <= 0xFFFF &&
                     *values[3] <= 0xFFFF;
  if (!valid) {
    error(out, "malformed BITMAP header: BITMAP " + std::string(header));
    return {Outcome::Consumed, headerEnd};
  }
  TsplBitmap bitmap{*values[0],
                    *values[1],
                    static_cast<uint32_t>(*values[2]),
                    static_cast<uint32_t>(*values[3]),
                    *values[4],
                    false,
                    {}};
  const uint64_t raw = uint64_t{bitmap.widthBytes} * bitmap.rows;
  if (raw > kMaxRasterBytes) {
    error(out, "BITMAP of " + std::to_string(raw) + " bytes too large for the printer; skipped");
    return {Outcome::Consumed, headerEnd};
  }
  const auto payload = in.subspan(headerEnd);
  // A payload may be the raw raster or a 4-byte length and an LZO1X stream
  // of that raster; only a stream that expands to exactly the raster counts.
  if (payload.size() >= 4) {
    const uint64_t length = readLE32(payload, 0);
    const uint64_t payloadAt = base_ + pos_ + headerEnd;
    if (length >= 3 && length <= lzoWorstCase(raw) && lzoCanExpandTo(length, raw) &&
        payloadAt != rawPayloadAt_) {
      if (payload.size() >= 4 + length) {
        std::string ignored;
        if (auto bits = decompressRaster(payload.subspan(4, length), raw, ignored)) {
          bitmap.compressed = true;
          bitmap.bits = std::move(*bits);
          out.emplace_back(std::move(bitmap));
          return {Outcome::Consumed, headerEnd + 4 + static_cast<size_t>(length)};
        }
        rawPayloadAt_ = payloadAt; // tried once; while it waits for bytes, it is raw
      } else if (!atEnd) {
        return {Outcome::NeedMore};
      }
    }
  } else if (!atEnd) {
    return {Outcome::NeedMore}; // not even the length of a compressed payload yet
  }
  if (payload.size() < raw) return truncated(in, atEnd, "a BITMAP payload", out);
  bitmap.bits.assign(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(raw));
  out.emplace_back(std::move(bitmap));
  return {Outcome::Consumed, headerEnd + static_cast<size_t>(raw)};
}

} // namespace zv::detail
