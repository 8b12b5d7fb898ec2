// Code 39 (with its full-ASCII form) and Code 93, which shares its alphabet.
#include <zvprinter/ZVBarcodeEncodeVerify.h>

#include "barcode/barcode_units.h"
#include "platform/text_conversion.h"

#include <algorithm>
#include <utility>

namespace {

using zv::detail::UnitSlice;

constexpr size_t kMaxLength = 80;

// The two code units that stand for @p unit in full-ASCII Code 39; a plain
// character stands for itself (second unit 0).
std::pair<char16_t, char16_t> fullAsciiPair(char16_t unit) {
  const auto with = [](char16_t shift, int letter) {
    return std::pair{shift, static_cast<char16_t>(letter)};
  };
  if (unit == 0) return {u'%', u'U'};
  if (unit <= 26) return with(u'$', unit + 64);
  if (unit <= 31) return with(u'%', unit + 38);
  if (unit == u' ' || unit == u'-' || unit == u'.') return {unit, 0};
  if (unit <= 44 || unit == u'/' || unit == u':') return with(u'/', unit + 32);
  if (zv::detail::isAsciiDigit(unit)) return {unit, 0};
  if (unit <= 63) return with(u'%', unit + 11);
  if (unit == u'@') return {u'%', u'V'};
  if (unit <= 90) return {unit, 0};
  if (unit <= 95) return with(u'%', unit - 16);
  if (unit == u'`') return {u'%', u'W'};
  if (unit <= 122) return with(u'+', unit - 32);
  return with(u'%', unit - 43); // 123 to 127
}

std::u16string fullAscii(std::u16string_view content) {
  std::u16string converted;
  converted.reserve(content.size() * 2);
  for (const char16_t unit : content) {
    if (unit >= 128) return {};
    const auto [first, second] = fullAsciiPair(unit);
    converted += first;
    if (second != 0) converted += second;
  }
  return converted;
}

UnitSlice code39Check(std::u16string content) {
  UnitSlice slice{true, std::move(content)};
  if (slice.content.size() > kMaxLength) {
    slice.isVerify = false;
    return slice;
  }
  for (const char16_t unit : slice.content) {
    if (zv::detail::inCode39Alphabet(unit)) continue;
    // The whole content is rewritten at the first character that is not
    // plain; the rewritten form holds plain characters only.
    std::u16string converted = fullAscii(slice.content);
    if (converted.empty()) {
      slice.isVerify = false;
    } else {
      slice.content = std::move(converted);
      slice.isVerify = slice.content.size() <= kMaxLength;
    }
    break;
  }
  return slice;
}

UnitSlice code93Check(std::u16string content) {
  const bool valid =
      content.size() <= kMaxLength && std::ranges::all_of(content, zv::detail::inCode39Alphabet);
  return {valid, std::move(content)};
}

} // namespace

std::string ZVBarcodeEncodeVerify::tryToConvertToExtendedMode(const std::string &content) {
  const auto units = zv::detail::utf16FromUtf8(content);
  return units ? zv::detail::utf8FromUtf16(fullAscii(*units)) : std::string();
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyCode39Encoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, code39Check);
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyCode93Encoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, code93Check);
}
