#include "platform/text_conversion.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <array>
#include <climits>
#include <memory>

namespace zv::detail {
namespace {

struct ConverterCloser {
  void operator()(UConverter *converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// ICU's own stop callback lets unmappable default-ignorable characters
// (U+FEFF, U+200B, variation selectors, ...) vanish silently. This one keeps
// the converter's error for every unmappable character.
void stopAtAnyUnmappable(const void *, UConverterFromUnicodeArgs *, const UChar *, int32_t, UChar32,
                         UConverterCallbackReason, UErrorCode *) {}

// Opens a converter whose callbacks stop at the first unmappable character
// or illegal sequence, so that the error reaches the caller.
Converter openStrict(const char *name) {
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_open(name, &status));
  if (U_FAILURE(status)) return nullptr;
  ucnv_setFallback(converter.get(), false);
  ucnv_setFromUCallBack(converter.get(), stopAtAnyUnmappable, nullptr, nullptr, nullptr, &status);
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  if (U_FAILURE(status)) return nullptr;
  return converter;
}

// Streams the whole input through source -> UTF-16 pivot -> target, growing
// the output as needed. Pointer-based, so there is no 2 GiB length limit.
template <typename Out>
std::optional<Out> convert(const char *targetName, const char *sourceName,
                           std::span<const char> input) {
  const Converter target = openStrict(targetName);
  const Converter source = openStrict(sourceName);
  if (!target || !source) return std::nullopt;
  if (input.empty()) return Out(); // ICU refuses a null source pointer

  Out output(input.size() + input.size() / 2 + 16, '\0');
  std::array<UChar, 1024> pivot{};
  UChar *pivotSource = pivot.data();
  UChar *pivotTarget = pivot.data();
  const char *in = input.data();
  const char *const inEnd = in + input.size();
  char *out = reinterpret_cast<char *>(output.data());
  bool reset = true;
  for (;;) {
    UErrorCode status = U_ZERO_ERROR;
    char *const outEnd = reinterpret_cast<char *>(output.data()) + output.size();
    ucnv_convertEx(target.get(), source.get(), &out, outEnd, &in, inEnd, pivot.data(), &pivotSource,
                   &pivotTarget, pivot.data() + pivot.size(), reset, true, &status);
    reset = false;
    const size_t used = static_cast<size_t>(out - reinterpret_cast<char *>(output.data()));
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      output.resize(output.size() * 2);
      out = reinterpret_cast<char *>(output.data()) + used;
      continue;
    }
    if (U_FAILURE(status)) return std::nullopt;
    output.resize(used);
    return output;
  }
}

} // namespace

std::optional<ZVData> encodeText(std::string_view utf8, const char *converterName) {
  return convert<ZVData>(converterName, "UTF-8", std::span(utf8.data(), utf8.size()));
}

std::optional<std::string> decodeText(std::span<const uint8_t> bytes, const char *converterName) {
  return convert<std::string>(
      "UTF-8", converterName,
      std::span(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
}

std::optional<std::u16string> utf16FromUtf8(std::string_view utf8) {
  if (utf8.size() > static_cast<size_t>(INT32_MAX)) return std::nullopt;
  const auto length = static_cast<int32_t>(utf8.size());
  std::u16string result(utf8.size(), u'\0'); // UTF-16 never has more units than UTF-8 bytes
  int32_t produced = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(reinterpret_cast<UChar *>(result.data()), length, &produced, utf8.data(), length,
                &status);
  if (U_FAILURE(status)) return std::nullopt;
  result.resize(static_cast<size_t>(produced));
  return result;
}

std::string utf8FromUtf16(std::u16string_view utf16) {
  std::string result;
  result.reserve(utf16.size());
  size_t i = 0;
  while (i < utf16.size()) {
    UChar32 c = 0;
    U16_NEXT(utf16.data(), i, utf16.size(), c);
    if (U_IS_SURROGATE(c)) c = 0xFFFD;
    char buffer[U8_MAX_LENGTH];
    size_t length = 0;
    U8_APPEND_UNSAFE(buffer, length, c);
    result.append(buffer, length);
  }
  return result;
}

bool isDecimalDigit(char16_t unit) {
  return u_charType(unit) == U_DECIMAL_DIGIT_NUMBER;
}

} // namespace zv::detail
