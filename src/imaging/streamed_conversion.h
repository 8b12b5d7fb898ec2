#pragma once

// Print data straight from an encoded image file, decoding on a second
// thread while the conversion runs on the caller's.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace zv::detail {

/// The print data of the PNG or JPEG in @p bytes, as
/// ZVBitmapManager::generateGenralDataWithImage(image, false, mode, compress,
/// package) returns it for the decoded image, byte for byte.
///
/// An image that the decoder knows to be opaque (JPEG; PNG without alpha or
/// tRNS) is converted band by band while a second thread decodes it; any
/// other image is decoded whole first. Returns std::nullopt with a one-line
/// reason in @p error when the file is refused or damaged (never partial
/// data), and empty data for a mode outside 0..2 or an unknown compression.
///
/// Threading: blocking; starts and joins one thread per call. Calls on
/// several threads at once are independent.
std::optional<ZVData> printDataOfEncoded(std::span<const uint8_t> bytes, int64_t mode,
                                         int64_t compress, bool package, std::string &error);

} // namespace zv::detail
