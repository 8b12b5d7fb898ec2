#pragma once

// Runs the zvprint binary of this build as a user would, optionally under
// resource limits, and collects what it printed.

#include <zvprinter/ZVTypes.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zvtest {

/// Limits set with setrlimit in the child before zvprint starts; 0: none.
struct Limits {
  uint64_t addressSpaceBytes = 0; ///< RLIMIT_AS
  uint64_t cpuSeconds = 0;        ///< RLIMIT_CPU (a runaway is killed, not timed)
  uint64_t fileSizeBytes = 0;     ///< RLIMIT_FSIZE (a full disk; SIGXFSZ ignored)
};

struct Outcome {
  int status = -1;    ///< exit status, or -1 when killed by a signal
  int signal = 0;     ///< the signal that ended it, if any
  std::string output; ///< stdout
  std::string errors; ///< stderr
};

/// Path of the zvprint binary next to the tests in the build tree.
std::filesystem::path zvprintPath();

/// Runs zvprint with @p arguments; stdout goes to @p stdoutPath when given
/// (e.g. "/dev/full"), else it is captured.
Outcome runZvprint(const std::vector<std::string> &arguments, const Limits &limits = {},
                   const std::string &stdoutPath = {});

/// Runs "zvprint ARGUMENTS" through the shell with stderr merged into stdout,
/// as a terminal shows it (output holds both), always on the virtual printer.
Outcome runZvprintMerged(const std::string &arguments);

/// A fresh folder for one test, removed at the end.
class ToolTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;
  /// Writes @p bytes to a file in the folder and returns its path.
  std::string file(const std::string &name, const ZVData &bytes) const;
  std::string path(const std::string &name) const { return (dir / name).string(); }
  std::filesystem::path dir;
};

/// Reads a whole file (empty if missing).
ZVData readAll(const std::filesystem::path &path);

/// A PNG of @p width x @p height pixels of one gray value.
ZVData grayPng(uint32_t width, uint32_t height, uint8_t gray = 128);

} // namespace zvtest
