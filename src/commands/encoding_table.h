#pragma once

// Maps the platform's string-encoding numbers onto ICU converters.

#include <cstdint>

namespace zv::detail {

/// GB 18030: CoreFoundation's 0x0632 with the high bit that marks a
/// converted CoreFoundation encoding.
inline constexpr int64_t kGB18030EncodingNumber = 0x80000632;

/// The name of the ICU converter for @p encodingNumber, or nullptr when the
/// number is not an encoding of the platform or ICU has no converter for it.
/// Unmarked UTF-16 and UTF-32 are big-endian, with no byte-order mark either
/// way, so that everything encoded decodes back to the same text.
const char *icuConverterFor(int64_t encodingNumber);

} // namespace zv::detail
