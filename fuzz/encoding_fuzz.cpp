// Both encoding directions over arbitrary bytes, for several encoding numbers.
#include <zvprinter/ZVEncode.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1 || size > 8192) return 0;
  // The first byte picks the encoding; the rest is the text or the bytes.
  constexpr int64_t kEncodings[] = {0x80000632, 1,          3,          4,          5,
                                    8,          10,         12,         21,         30,
                                    0x90000100, 0x94000100, 0x8C000100, 0x98000100, 0x80000631,
                                    0x80000A03, 0x80000940, 0x80000A02, 0x80000830, 0x84000100};
  const int64_t encoding = kEncodings[data[0] % std::size(kEncodings)];
  const std::span<const uint8_t> rest(data + 1, size - 1);
  const std::string text(rest.begin(), rest.end());

  // What was encoded strictly decodes back to the same text.
  if (const auto bytes = ZVEncode::encodeDataWithString(text, encoding)) {
    if (ZVEncode::decodeDataWithString(*bytes, encoding) != text) std::abort();
  }
  if (const auto decoded = ZVEncode::decodeDataWithString(rest, encoding)) {
    if (!ZVEncode::encodeDataWithString(*decoded, 4)) std::abort(); // always valid UTF-8
  }
  ZVEncode::decodeStringWithData(rest);
  ZVEncode::encodeDataWithString(text);
  return 0;
}
