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

bool isKeywordChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

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
  const auto window = in.first(std::min(in.size(), kMaxTsplLine));
  const auto newline = std::find(window.begin(), window.end(), uint8_t{'\n'});
  if (newline == window.end() && in.size() < kMaxTsplLine && !atEnd) return {Outcome::NeedMore};
  const size_t length = static_cast<size_t>(newline - window.begin());
  std::string_view line(reinterpret_cast<const char *>(in.data()), length);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  // Control characters mean this is not a text line after all.
  if (std::any_of(line.begin(), line.end(),
                  [](char c) { return static_cast<uint8_t>(c) < 0x20 && c != '\t'; })) {
    return {Outcome::Garbage};
  }
  const size_t keywordEnd = std::min(line.find(' '), line.size());
  const std::string_view keyword = line.substr(0, keywordEnd);
  if (!std::all_of(keyword.begin(), keyword.end(), isKeywordChar)) return {Outcome::Garbage};
  const size_t consumed = std::min(length + 1, in.size());
  if (newline == window.end() && !atEnd) {
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
    if (length >= 3 && length <= lzoWorstCase(raw) && payloadAt != rawPayloadAt_) {
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
