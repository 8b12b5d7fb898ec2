#pragma once

// What decides whether a link to a printer has one ATT bearer: bluetoothd's
// [GATT] Channels setting and the printer's GATT Server Supported Features.

#include <zvprinter/ZVTypes.h>

#include <optional>
#include <string>
#include <string_view>

namespace zv::detail {

/// The Channels value of the [GATT] section of a bluetoothd main.conf, or
/// std::nullopt when it is not set there (BlueZ then opens up to three
/// bearers to a peer that supports Enhanced ATT) or is not a number 1-5.
/// Comments, blank lines, other sections and malformed lines are ignored.
std::optional<int> gattChannels(std::string_view mainConf);

/// The same, read from the file at @p path; std::nullopt when it cannot be
/// read.
std::optional<int> gattChannelsOfFile(const std::string &path);

/// Whether a GATT Server Supported Features value (0x2B3A) announces
/// Enhanced ATT (bit 0 of the first octet); an empty value announces nothing.
bool announcesEnhancedAtt(const ZVData &serverFeatures);

} // namespace zv::detail
