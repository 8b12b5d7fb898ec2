#pragma once

// Maps the platform's string-encoding numbers onto ICU converters.

#include <cstdint>
#include <optional>

namespace zv::detail {

/// The ICU converters that stand for one encoding number. They differ only
/// for unmarked UTF-16 and UTF-32: written big-endian without a byte-order
/// mark, read big-endian unless a byte-order mark says otherwise.
struct IcuEncoding {
  const char *encodeName;
  const char *decodeName;
};

/// GB 18030: CoreFoundation's 0x0632 with the high bit that marks a
/// converted CoreFoundation encoding.
inline constexpr int64_t kGB18030EncodingNumber = 0x80000632;

/// The converters for @p encodingNumber, or std::nullopt when the number is
/// not an encoding of the platform or ICU has no converter for it.
std::optional<IcuEncoding> icuEncodingFor(int64_t encodingNumber);

} // namespace zv::detail
