#include <zvprinter/ZVEncode.h>

#include "commands/encoding_table.h"
#include "platform/text_conversion.h"

std::optional<ZVData> ZVEncode::encodeDataWithString(const std::optional<std::string> &string) {
  return encodeDataWithString(string, zv::detail::kGB18030EncodingNumber);
}

std::optional<std::string> ZVEncode::decodeStringWithData(std::span<const uint8_t> data) {
  return decodeDataWithString(data, zv::detail::kGB18030EncodingNumber);
}

std::optional<ZVData> ZVEncode::encodeDataWithString(const std::optional<std::string> &string,
                                                     int64_t encodingType) {
  const char *converter = zv::detail::icuConverterFor(encodingType);
  if (!string || !converter) return std::nullopt;
  return zv::detail::encodeText(*string, converter);
}

std::optional<std::string> ZVEncode::decodeDataWithString(std::span<const uint8_t> data,
                                                          int64_t encodingType) {
  const char *converter = zv::detail::icuConverterFor(encodingType);
  if (!converter) return std::nullopt;
  return zv::detail::decodeText(data, converter);
}
