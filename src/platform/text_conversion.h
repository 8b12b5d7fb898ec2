#pragma once

// Text conversion on ICU. Everything is strict: a character the target
// encoding cannot hold, or a byte sequence that is not valid in the source
// encoding, fails the whole conversion; nothing is ever substituted.

#include <zvprinter/ZVTypes.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace zv::detail {

/// UTF-8 text to bytes in the ICU converter named @p converterName.
/// std::nullopt for invalid UTF-8, an unmappable character or an unknown name.
std::optional<ZVData> encodeText(std::string_view utf8, const char *converterName);

/// Bytes in the ICU converter named @p converterName to UTF-8 text.
/// std::nullopt for an invalid or truncated sequence or an unknown name.
std::optional<std::string> decodeText(std::span<const uint8_t> bytes, const char *converterName);

/// Strict UTF-8 to UTF-16 (surrogate code points and overlong forms are
/// invalid). Inputs longer than INT32_MAX bytes are refused.
std::optional<std::u16string> utf16FromUtf8(std::string_view utf8);

/// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD. Used for text
/// rebuilt from code units, where a cut can split a surrogate pair.
std::string utf8FromUtf16(std::u16string_view utf16);

/// Whether the code unit is a decimal digit: Unicode general category Nd.
bool isDecimalDigit(char16_t unit);

} // namespace zv::detail
