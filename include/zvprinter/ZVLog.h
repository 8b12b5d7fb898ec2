/// @file ZVLog.h
/// @brief Where the library's log lines go.
#pragma once

#include <zvprinter/ZVExport.h>

#include <functional>
#include <string_view>

/// Receives one log line, without a trailing line feed.
using ZVLogHandler = std::function<void(std::string_view line)>;

/// Routes the library's log lines to @p handler from now on.
///
/// The library logs very little: one line per Codabar check
/// ("codeBar == A...A"). By default lines go to ZVDefaultLogHandler (stderr).
/// An empty handler silences the library; pass ZVDefaultLogHandler to
/// restore the default. Thread-safe; the handler may be called from any
/// thread that runs a logging operation, and must not call ZVSetLogHandler.
ZV_EXPORT void ZVSetLogHandler(ZVLogHandler handler);

/// Writes @p line and a line feed to stderr in one write.
ZV_EXPORT void ZVDefaultLogHandler(std::string_view line);
