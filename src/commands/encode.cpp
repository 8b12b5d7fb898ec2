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
  const auto encoding = zv::detail::icuEncodingFor(encodingType);
  if (!string || !encoding) return std::nullopt;
  return zv::detail::encodeText(*string, encoding->encodeName);
}

std::optional<std::string> ZVEncode::decodeDataWithString(std::span<const uint8_t> data,
                                                          int64_t encodingType) {
  const auto encoding = zv::detail::icuEncodingFor(encodingType);
  if (!encoding) return std::nullopt;
  return zv::detail::decodeText(data, encoding->decodeName);
}
