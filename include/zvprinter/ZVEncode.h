/// @file ZVEncode.h
/// @brief Strict conversion between text and the byte encodings printers use.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// Converts between UTF-8 strings and the byte encodings printers understand.
///
/// The default encoding is GB 18030, in which printers expect text and in
/// which every TSPL command is sent. Conversion is strict in both directions:
/// a character the encoding cannot represent, a byte sequence that is not
/// valid in it, or a string that is not valid UTF-8 gives std::nullopt;
/// nothing is ever replaced by a substitute. No byte-order mark is written.
/// The empty string encodes to an empty buffer and back.
///
/// Encodings are named by the platform's string-encoding numbers:
///
/// | number | encoding |
/// |---|---|
/// | 1 | ASCII (7-bit) |
/// | 3 | Japanese EUC |
/// | 4 | UTF-8 |
/// | 5 | ISO Latin 1 (ISO 8859-1) |
/// | 8 | Shift JIS (code page 932) |
/// | 9 | ISO Latin 2 (ISO 8859-2) |
/// | 10 | UTF-16, see below |
/// | 11, 12, 13, 14, 15 | Windows-1251, -1252, -1253, -1254, -1250 |
/// | 21 | ISO-2022-JP |
/// | 30 | Mac Roman |
/// | 0x90000100, 0x94000100 | UTF-16BE, UTF-16LE |
/// | 0x8C000100 | UTF-32, see below |
/// | 0x98000100, 0x9C000100 | UTF-32BE, UTF-32LE |
/// | 0x80000000 + n | CoreFoundation encoding n, where ICU converts it: |
/// | | Mac Roman 0x0, Greek 0x6, Cyrillic 0x7, Central European 0x1D, Turkish 0x23; |
/// | | UTF-16 0x100; ISO 8859-1 to -11 0x201..0x20B, -13 to -15 0x20D..0x20F; |
/// | | DOS code pages 437 0x400, 737 0x405, 775 0x406, 850 0x410, 851 0x411, |
/// | | 852 0x412, 855 0x413, 857 0x414, 860 to 866 0x415..0x41B, 869 0x41C, |
/// | | 874 0x41D, 932 0x420, 936 0x421, 949 0x422, 950 0x423; |
/// | | Windows-1252, -1250, -1251, -1253 to -1258 0x500..0x508; ASCII 0x600; |
/// | | GBK 0x631, GB 18030 0x632; ISO-2022-JP 0x820, -JP-2 0x821, -JP-1 0x822, |
/// | | ISO-2022-CN 0x830, -CN-EXT 0x831, ISO-2022-KR 0x840; EUC-JP 0x920, |
/// | | EUC-CN 0x930, EUC-TW 0x931, EUC-KR 0x940; Shift JIS 0xA01, KOI8-R 0xA02, |
/// | | Big5 0xA03, HZ 0xA05, Big5-HKSCS 0xA06, KOI8-U 0xA08, IMAP UTF-7 0xA10; |
/// | | EBCDIC 037 0xC02; UTF-7 0x4000100, UTF-8 0x8000100 |
///
/// So GB 18030 is 0x80000632, GBK 0x80000631, Big5 0x80000A03, EUC-KR
/// 0x80000940, KOI8-R 0x80000A02. Numbers the platform defines without a
/// converter here (2 NeXTSTEP, 6 Symbol, 7 non-lossy ASCII, the other Mac
/// script encodings, ...) and unknown numbers give std::nullopt.
///
/// Unmarked UTF-16 (10) and UTF-32 (0x8C000100) are big-endian, and no
/// byte-order mark is written or looked for: a leading FE FF or FF FE is read
/// as the character it spells, so that whatever is encoded decodes back to
/// the same text. The same holds for all the UTF forms.
///
/// Stateless; every operation may be called from any thread.
class ZV_EXPORT ZVEncode {
public:
  ZVEncode() = delete;

  /// @p string in GB 18030; std::nullopt for a nil string or one that can't
  /// be converted.
  static std::optional<ZVData> encodeDataWithString(const std::optional<std::string> &string);

  /// The text that @p data spells in GB 18030, or std::nullopt if it is not
  /// valid GB 18030.
  static std::optional<std::string> decodeStringWithData(std::span<const uint8_t> data);

  /// @p string in the encoding numbered @p encodingType (see the table).
  static std::optional<ZVData> encodeDataWithString(const std::optional<std::string> &string,
                                                    int64_t encodingType);

  /// The text that @p data spells in the encoding numbered @p encodingType.
  /// (It takes bytes and returns text, despite its name.)
  static std::optional<std::string> decodeDataWithString(std::span<const uint8_t> data,
                                                         int64_t encodingType);
};
