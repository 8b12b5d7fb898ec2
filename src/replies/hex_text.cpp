// The hexadecimal conversions of ZVCacheManager.
#include <zvprinter/ZVCacheManager.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace {

/// One UTF-16 code unit of the text, reduced to what strtoul can tell apart:
/// the ASCII character itself, or a byte that is never a digit, sign or space.
constexpr char kNotAscii = '\x80';

/// The text as UTF-16 code units. A four-byte sequence is two units (a
/// surrogate pair); a byte that begins no valid sequence counts as one unit.
std::vector<char> utf16Units(const std::string &text) {
  std::vector<char> units;
  units.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = 1;
    if (lead >= 0xC0 && lead < 0xE0)
      length = 2;
    else if (lead >= 0xE0 && lead < 0xF0)
      length = 3;
    else if (lead >= 0xF0 && lead < 0xF8)
      length = 4;
    if (i + length > text.size()) length = 1;
    for (std::size_t k = 1; k < length; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) length = 1;
    }
    if (lead < 0x80) {
      units.push_back(static_cast<char>(lead));
    } else {
      units.push_back(kNotAscii);
      if (length == 4) units.push_back(kNotAscii);
    }
    i += length;
  }
  return units;
}

uint8_t readPiece(const char *piece, std::size_t length) {
  std::array<char, 3> text{};
  std::copy(piece, piece + length, text.begin());
  return static_cast<uint8_t>(std::strtoul(text.data(), nullptr, 16) & 0xFF);
}

} // namespace

std::string ZVCacheManager::stringFromBytes(const uint8_t *bytes, uint64_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  if (bytes == nullptr) return text;
  text.reserve(static_cast<std::size_t>(length) * 2);
  for (uint64_t i = 0; i < length; ++i) {
    text.push_back(kDigits[bytes[i] >> 4]);
    text.push_back(kDigits[bytes[i] & 0x0F]);
  }
  return text;
}

std::optional<ZVData>
ZVCacheManager::qxConvertHexStrToData(const std::optional<std::string> &text) {
  if (!text || text->empty()) return std::nullopt;
  const std::vector<char> units = utf16Units(*text);
  ZVData bytes;
  bytes.reserve(units.size() / 2 + 1);
  std::size_t i = 0;
  if (units.size() % 2 == 1) bytes.push_back(readPiece(&units[i++], 1));
  for (; i < units.size(); i += 2)
    bytes.push_back(readPiece(&units[i], 2));
  return bytes;
}
