// EAN-8, EAN-13, UPC-A and UPC-E: the standard UPC/EAN check digit.
#include <zvprinter/ZVBarcodeEncodeVerify.h>

#include "barcode/barcode_units.h"
#include "platform/text_conversion.h"

namespace zv::detail {

int64_t upcEanChecksum(std::u16string_view digits) {
  int64_t oddSum = 0; // positions counted from the right, starting at 1
  int64_t evenSum = 0;
  for (size_t position = 1; position <= digits.size(); ++position) {
    const char16_t unit = digits[digits.size() - position];
    if (!isAsciiDigit(unit)) return 0;
    (position % 2 == 1 ? oddSum : evenSum) += digitValue(unit);
  }
  return (1000 - (oddSum * 3 + evenSum)) % 10;
}

bool upcEanChecksumMatches(std::u16string_view digits) {
  if (digits.empty()) return false;
  return upcEanChecksum(digits.substr(0, digits.size() - 1)) == digitValue(digits.back());
}

std::u16string upceToUpca(std::u16string_view upce) {
  if (upce.size() < 7) return {};
  const std::u16string_view d = upce.substr(1, 6); // d1..d6 at d[0]..d[5]
  std::u16string upca(1, upce[0]);
  switch (d[5]) {
  case u'0':
  case u'1':
  case u'2':
    upca += std::u16string{d[0], d[1], d[5]} + u"0000" + std::u16string{d[2], d[3], d[4]};
    break;
  case u'3':
    upca += std::u16string{d[0], d[1], d[2]} + u"00000" + std::u16string{d[3], d[4]};
    break;
  case u'4':
    upca += std::u16string{d[0], d[1], d[2], d[3]} + u"00000" + std::u16string{d[4]};
    break;
  default:
    upca += std::u16string(d.substr(0, 5)) + u"0000" + std::u16string{d[5]};
    break;
  }
  if (upce.size() >= 8) upca += upce[7];
  return upca;
}

} // namespace zv::detail

namespace {

using zv::detail::UnitSlice;

std::u16string checkDigitText(std::u16string_view digits) {
  const std::string text = std::to_string(zv::detail::upcEanChecksum(digits));
  return {text.begin(), text.end()};
}

// EAN-8 and EAN-13: a full code is checked, one short of it gets its digit.
template <size_t FullLength> UnitSlice eanCheck(std::u16string content) {
  UnitSlice slice{true, std::move(content)};
  if (slice.content.size() == FullLength) {
    slice.isVerify = zv::detail::upcEanChecksumMatches(slice.content) &&
                     zv::detail::isNumericUnits(slice.content);
  } else if (slice.content.size() == FullLength - 1) {
    slice.content += checkDigitText(slice.content);
    slice.isVerify = zv::detail::isNumericUnits(slice.content);
  } else {
    slice.isVerify = false;
  }
  return slice;
}

UnitSlice upcaCheck(std::u16string content) {
  return eanCheck<13>(u"0" + content);
}

UnitSlice upceCheck(std::u16string content) {
  UnitSlice slice{true, std::move(content)};
  if (slice.content.size() == 8) {
    // Checked on the UPC-E digits themselves, not on their UPC-A expansion.
    slice.isVerify = zv::detail::upcEanChecksumMatches(slice.content);
  } else if (slice.content.size() == 7) {
    slice.content += checkDigitText(zv::detail::upceToUpca(slice.content));
  } else {
    slice.isVerify = false;
  }
  if (!zv::detail::isNumericUnits(slice.content)) slice.isVerify = false;
  const int numberSystem = slice.content.empty() ? 0 : zv::detail::digitValue(slice.content[0]);
  if (numberSystem != 0 && numberSystem != 1) slice.isVerify = false;
  return slice;
}

} // namespace

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyEan8Encoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, eanCheck<8>);
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyEan13Encoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, eanCheck<13>);
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyUpcaEncoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, upcaCheck);
}

ZVBarcodeSlice ZVBarcodeEncodeVerify::verifyUpceEncoding(const std::string &content) {
  return zv::detail::runBarcodeCheck(content, upceCheck);
}

bool ZVBarcodeEncodeVerify::checkStandardUPCEANChecksum(const std::string &content) {
  const auto units = zv::detail::utf16FromUtf8(content);
  return units && zv::detail::upcEanChecksumMatches(*units);
}

int64_t ZVBarcodeEncodeVerify::standardUPCEANChecksum(const std::string &content) {
  const auto units = zv::detail::utf16FromUtf8(content);
  return units ? zv::detail::upcEanChecksum(*units) : 0;
}

bool ZVBarcodeEncodeVerify::isNumeric(const std::string &content) {
  const auto units = zv::detail::utf16FromUtf8(content);
  return units && zv::detail::isNumericUnits(*units);
}

std::string ZVBarcodeEncodeVerify::convertUPCEtoUPCA(const std::string &upce) {
  const auto units = zv::detail::utf16FromUtf8(upce);
  return units ? zv::detail::utf8FromUtf16(zv::detail::upceToUpca(*units)) : std::string();
}
