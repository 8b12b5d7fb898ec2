#pragma once

// The library's one logging entry; see ZVSetLogHandler.

#include <string_view>

namespace zv::detail {

/// Passes @p line to the application's log handler (stderr by default).
void logLine(std::string_view line);

} // namespace zv::detail
