#pragma once

// Errors of the BlueZ backend, and the one-line advice for a person when
// BlueZ cannot be used.

#include <zvprinter/ZVBluezCentral.h>
#include <zvprinter/ZVTypes.h>

#include <string>
#include <string_view>

namespace sdbus {
class Error;
}

namespace zv::detail {

ZVError bluezError(ZVBluezError code, std::string description);
/// A failed D-Bus call: code ZVBluezErrorDBus, text "<error name>: <message>".
ZVError bluezError(const sdbus::Error &error);

/// What a failed call to the bus says about BlueZ's availability: the bus
/// is gone, access was refused, or nobody owns org.bluez.
ZVBluezProbe::Status statusOfBusError(std::string_view errorName);
/// The advice line for @p status ("" for Ready). @p adapter names the
/// adapter where that helps, @p detail is the D-Bus error text, if any.
std::string adviceFor(ZVBluezProbe::Status status, std::string_view adapter,
                      std::string_view detail);

} // namespace zv::detail
