#pragma once

// Helpers shared by the zvprint subcommands: one-line failures, image and
// file I/O, and the option parsers that several commands share.

#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

namespace zvprint {

/// Thrown by a subcommand to end the program with one line on stderr.
struct CommandFailure : std::runtime_error {
  CommandFailure(const std::string &message, int code)
      : std::runtime_error(message), exitCode(code) {}
  int exitCode;
};

[[noreturn]] void fail(const std::string &message, int exitCode = 1);

/// Decodes an image file or fails with the decoder's reason.
ZVImage loadImage(const std::string &path);
/// Reads a whole file or fails.
ZVData readFile(const std::string &path);
/// Writes bytes to a file or fails.
void writeFile(const std::string &path, std::span<const uint8_t> bytes);

/// A CLI11 validator and transform for print modes: 0, 1, 2 or the words
/// threshold, dither, cluster (mapped to 0, 1, 2).
CLI::Validator modeOption();

} // namespace zvprint
