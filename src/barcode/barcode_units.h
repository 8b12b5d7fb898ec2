#pragma once

// The barcode checks work on UTF-16 code units; these helpers are shared by
// the symbology files.

#include <zvprinter/ZVBarcodeSlice.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace zv::detail {

/// A check result while it is still in code units.
struct UnitSlice {
  bool isVerify = true;
  std::u16string content;
};

/// Runs @p check on @p input as code units and converts the result back to
/// UTF-8. Input that is not valid UTF-8 fails, with the input as content.
ZVBarcodeSlice runBarcodeCheck(const std::string &input, UnitSlice (*check)(std::u16string));

inline bool isAsciiDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

/// The value of an ASCII digit; anything else counts as 0.
inline int digitValue(char16_t unit) {
  return isAsciiDigit(unit) ? unit - u'0' : 0;
}

bool isNumericUnits(std::u16string_view units);
int64_t upcEanChecksum(std::u16string_view digits);
bool upcEanChecksumMatches(std::u16string_view digits);
std::u16string upceToUpca(std::u16string_view upce);
bool inCode39Alphabet(char16_t unit);

} // namespace zv::detail
