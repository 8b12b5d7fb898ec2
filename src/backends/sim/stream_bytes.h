#pragma once

// Small readers shared by the virtual printer's parsers.

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zv::detail {

inline uint16_t readLE16(std::span<const uint8_t> in, size_t at) {
  return static_cast<uint16_t>(in[at] | in[at + 1] << 8);
}

inline uint32_t readLE32(std::span<const uint8_t> in, size_t at) {
  return static_cast<uint32_t>(in[at]) | static_cast<uint32_t>(in[at + 1]) << 8 |
         static_cast<uint32_t>(in[at + 2]) << 16 | static_cast<uint32_t>(in[at + 3]) << 24;
}

inline std::string_view trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
    text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
    text.remove_suffix(1);
  return text;
}

/// A whole decimal integer (optional sign, surrounding blanks allowed).
inline std::optional<int64_t> parseInteger(std::string_view text) {
  text = trimmed(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int64_t value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc{} || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

/// The bytes as text for a log line: printable ASCII kept, others as \xNN,
/// cut after @p limit bytes.
inline std::string printable(std::span<const uint8_t> bytes, size_t limit = 48) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string text;
  for (size_t i = 0; i < bytes.size() && i < limit; ++i) {
    const uint8_t b = bytes[i];
    if (b >= 0x20 && b < 0x7F) {
      text += static_cast<char>(b);
    } else {
      text += "\\x";
      text += kHex[b >> 4];
      text += kHex[b & 15];
    }
  }
  if (bytes.size() > limit) text += "...";
  return text;
}

} // namespace zv::detail
