#pragma once

// Helpers shared by the zvprint subcommands: one-line failures, image and
// file I/O, and the option parsers that several commands share.

#include "output_file.h"

#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zvprint {

/// Thrown by a subcommand to end the program with one line on stderr.
struct CommandFailure : std::runtime_error {
  CommandFailure(const std::string &message, int code)
      : std::runtime_error(message), exitCode(code) {}
  int exitCode;
};

[[noreturn]] void fail(const std::string &message, int exitCode = 1);

/// Decodes an image file or fails with the reason (the OS's when the file
/// cannot be opened, else the decoder's).
ZVImage loadImage(const std::string &path);
/// Reads a whole file (at most 1 GiB) or fails with the OS's reason;
/// @p what names the file in the message ("cannot open image x.png: ...").
ZVData readFile(const std::string &path, const std::string &what = "file");

/// A CLI11 validator and transform for print modes: 0, 1, 2 or the words
/// threshold, dither, cluster (mapped to 0, 1, 2).
CLI::Validator modeOption();

/// The one-line message for a command line CLI11 refused: names an unknown
/// subcommand as such, lists the subcommands when none was given, and
/// points at the subcommand's --help otherwise. @p arguments is argv.
std::string usageMessage(const CLI::App &app, const CLI::ParseError &error,
                         std::span<const char *const> arguments);

/// Exit status for a command line that could not be parsed.
inline constexpr int kUsageExit = 2;

} // namespace zvprint
