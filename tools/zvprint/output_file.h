#pragma once

// Writing zvprint's outputs so that a failure never passes for success and
// never costs the user the file that was there before.

#include <cstdint>
#include <span>
#include <string>

namespace zvprint {

/// Writes @p bytes to @p path, or throws CommandFailure with the OS reason.
///
/// A regular file (or a new one) is written to a temporary file in the same
/// folder, every write checked, flushed to disk and closed with the result
/// checked, then renamed over @p path: on any failure the temporary is
/// removed and the old file is left as it was. The new file keeps the old
/// file's permissions, or gets 0666 less the umask. A symbolic link is
/// followed and its target replaced. Anything else that exists (a device
/// such as /dev/stdout or /dev/full, a pipe) is written in place, with every
/// write and the close checked.
///
/// Threading: any thread; two calls for the same path race as two
/// processes would (the last rename wins, neither leaves a torn file).
void writeFile(const std::string &path, std::span<const uint8_t> bytes);

/// Flushes standard output and throws CommandFailure if anything written to
/// it was lost (a full disk, a closed pipe), so output that went nowhere is
/// never reported as success. Call once, after the subcommand ran.
///
/// Threading: main thread, when no other thread writes to stdout.
void finishStandardOutput();

/// The OS's text for an errno value, e.g. "No space left on device".
std::string systemReason(int error);

} // namespace zvprint
