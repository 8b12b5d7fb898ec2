#pragma once

// How zvprint shows a job: a progress bar on a terminal (bytes, rate, time
// left), one line per phase otherwise, or one JSON object with --json; and
// the outcome as the exit status.

#include <zvprinter/ZVJobTypes.h>

#include <CLI/CLI.hpp>

#include <string>

namespace zvprint {

struct OutputOptions {
  bool json = false;
};

void addOutputOptions(CLI::App &command, OutputOptions &options);

class JobOutput {
public:
  /// @p what names the job in messages ("print", "firmware update").
  /// @p unit counts what is sent ("bytes", "frames").
  JobOutput(OutputOptions options, std::string what, std::string unit);
  /// The progress handler to give the job.
  ZVJobProgressHandler handler();
  /// Prints the outcome (and @p extra JSON members, already serialised as
  /// `"key":value` pairs joined by commas) and throws CommandFailure unless
  /// the job succeeded.
  void finish(const ZVJobResult &result, const std::string &successLine,
              const std::string &extraJson = "");

private:
  void show(const ZVJobProgress &progress);
  void bar(const ZVJobProgress &progress);

  OutputOptions options_;
  std::string what_;
  std::string unit_;
  bool terminal_ = false;
  bool barShown_ = false;
  int lastPhase_ = -1;
  double sendingSince_ = -1;
};

} // namespace zvprint
