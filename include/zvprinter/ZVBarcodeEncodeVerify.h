/// @file ZVBarcodeEncodeVerify.h
/// @brief Validation and rewriting of barcode contents for nine symbologies.
#pragma once

#include <zvprinter/ZVBarcodeSlice.h>
#include <zvprinter/ZVExport.h>

#include <cstdint>
#include <string>

/// The Code 39 alphabet: digits, A to Z, then "-. $/+%" (43 code units).
ZV_EXPORT extern const char16_t ZV_CODE39_ALPHABET[43];
/// The Codabar characters "/:+." (4 code units).
ZV_EXPORT extern const char16_t ZV_CHARS_WHICH_ARE_TEN_LENGTH_EACH_AFTER_DECODED[4];
/// The code units that stand for the Code 128 function characters.
ZV_EXPORT extern const char16_t ZV_CODE128_ESCAPE_FNC_1; ///< 0x00F1
ZV_EXPORT extern const char16_t ZV_CODE128_ESCAPE_FNC_2; ///< 0x00F2
ZV_EXPORT extern const char16_t ZV_CODE128_ESCAPE_FNC_3; ///< 0x00F3
ZV_EXPORT extern const char16_t ZV_CODE128_ESCAPE_FNC_4; ///< 0x00F4

/// Checks whether a string can be printed as a barcode of a symbology and
/// gives back the content to encode. Draws nothing.
///
/// Strings are UTF-8, but lengths, positions and character tests work on
/// UTF-16 code units: a character outside the Basic Multilingual Plane
/// counts as two, and neither of its halves is a digit or in any alphabet.
/// "Numeric" means every code unit is a decimal digit of Unicode category Nd
/// (digits of other scripts included); check digits are computed from ASCII
/// digits only. Input that is not valid UTF-8 fails every check, with the
/// input given back unchanged as the content.
///
/// The Codabar check logs one line, "codeBar == <content>", through the
/// library's log handler (see ZVLog.h). Stateless; callable from any thread.
class ZV_EXPORT ZVBarcodeEncodeVerify {
public:
  ZVBarcodeEncodeVerify() = delete;

  /// 8 characters: valid with a matching check digit; 7: the check digit is
  /// appended. Numeric only.
  static ZVBarcodeSlice verifyEan8Encoding(const std::string &content);
  /// As EAN-8 with 13 and 12 characters.
  static ZVBarcodeSlice verifyEan13Encoding(const std::string &content);
  /// The EAN-13 check of "0" + content: the content comes back in its
  /// 13-character EAN-13 form, to be printed as EAN-13.
  static ZVBarcodeSlice verifyUpcaEncoding(const std::string &content);
  /// 8 characters: the last must be the UPC/EAN check digit of the first
  /// seven; 7: the check digit of the UPC-A expansion is appended. Number
  /// system (first digit) 0 or 1.
  static ZVBarcodeSlice verifyUpceEncoding(const std::string &content);
  /// Framed as "A" + content + "A"; inside only 0-9 - $ / : + . are allowed.
  static ZVBarcodeSlice verifyCodaBarEncoding(const std::string &content);
  /// Interleaved 2 of 5: numeric, even length, at most 80.
  static ZVBarcodeSlice verifyItf25Encoding(const std::string &content);
  /// At most 80 characters; a content with characters outside the Code 39
  /// alphabet is rewritten whole into full-ASCII form (at most 80 again).
  static ZVBarcodeSlice verifyCode39Encoding(const std::string &content);
  /// At most 80 characters, all from the Code 39 alphabet.
  static ZVBarcodeSlice verifyCode93Encoding(const std::string &content);
  /// 1 to 80 characters, each below 128 or one of the FNC escapes.
  static ZVBarcodeSlice verifyCode128Encoding(const std::string &content);

  /// Whether the last character is the UPC/EAN check digit of the others.
  static bool checkStandardUPCEANChecksum(const std::string &content);
  /// The UPC/EAN check digit of @p content: (1000 - sum) % 10 with the
  /// rightmost digit weighted 3, truncated toward zero (so negative once the
  /// weighted sum passes 1000); 0 if any character is not an ASCII digit.
  static int64_t standardUPCEANChecksum(const std::string &content);
  /// True if every code unit is in Unicode category Nd (true for "").
  static bool isNumeric(const std::string &content);
  /// The UPC-A form (11 characters, 12 with the check digit carried over
  /// from an 8-character input) of a UPC-E code of 7 or 8 characters.
  /// Shorter inputs give the empty string.
  static std::string convertUPCEtoUPCA(const std::string &upce);
  /// The Code 39 full-ASCII form of @p content, or the empty string if it
  /// holds a character at or above 128.
  static std::string tryToConvertToExtendedMode(const std::string &content);
  /// Whether @p key is among the first @p length entries of @p array; false
  /// for a null array or a zero length.
  static bool arrayContains(const char16_t *array, uint32_t length, char16_t key);
};
