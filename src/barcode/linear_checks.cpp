// Codabar, Interleaved 2 of 5 and Code 128.
#include <zvprinter/ZVBarcodeEncodeVerify.h>

#include "barcode/barcode_units.h"
#include "platform/log.h"
#include "platform/text_conversion.h"

#include <algorithm>
#include <iterator>

namespace {

using zv::detail::UnitSlice;

constexpr size_t kMaxLength = 80;

bool isCodabarInner(char16_t unit) {
  return zv::detail::isAsciiDigit(unit) || unit == u'-' || unit == u'$' ||
         ZVBarcodeEncodeVerify::arrayContains(
             ZV_CHARS_WHICH_ARE_TEN_LENGTH_EACH_AFTER_DECODED,
             static_cast<uint32_t>(std::size(ZV_CHARS_WHICH_ARE_TEN_LENGTH_EACH_AFTER_DECODED)),
             unit);
}

UnitSlice codabarCheck(std::u16string content) {
  UnitSlice slice{true, u"A" + content + u"A"};
  zv::detail::logLine("codeBar == " + zv::detail::utf8FromUtf16(slice.content));
  const std::u16string_view inner(slice.content.data() + 1, slice.content.size() - 2);
  slice.isVerify = std::ranges::all_of(inner, isCodabarInner);
  return slice;
}

UnitSlice itfCheck(std::u16string content) {
  const bool valid = content.size() % 2 == 0 && content.size() <= kMaxLength &&
                     zv::detail::isNumericUnits(content);
  return {valid, std::move(content)};
}

bool isCode128Unit(char16_t unit) {
  return unit < 128 || unit == ZV_CODE128_ESCAPE_FNC_1 || unit == ZV_CODE128_ESCAPE_FNC_2 ||
         unit == ZV_CODE128_ESCAPE_FNC_3 || unit == ZV_CODE128_ESCAPE_FNC_4;
}

UnitSlice code128Check(std::u16string content) {
  const bool valid = !content.empty() && content.size() <= kMaxLength &&
                     std::ranges::all_of(content, isCode128Unit);
  return {valid, std::move(content)};
}

} // namespace

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyCodaBarEncoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, codabarCheck);
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyItf25Encoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, itfCheck);
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyCode128Encoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, code128Check);
}
