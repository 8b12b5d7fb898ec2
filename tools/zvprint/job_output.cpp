#include "job_output.h"

#include "cli_support.h"

#include <zvprinter/ZVRunLoop.h>

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace zvprint {

namespace {

constexpr int kBarWidth = 30;

const char *phaseText(ZVJobPhase phase) {
  switch (phase) {
  case ZVJobPhase::Scanning:
    return "scanning for the printer";
  case ZVJobPhase::Connecting:
    return "connecting";
  case ZVJobPhase::CheckingStatus:
    return "checking the printer's status";
  case ZVJobPhase::Sending:
    return "sending";
  case ZVJobPhase::AwaitingConfirmation:
    return "waiting for the printer's confirmation";
  case ZVJobPhase::Finished:
    return "finished";
  }
  return "";
}

std::string amount(double value, const std::string &unit) {
  char text[64];
  if (unit == "bytes" && value >= 1024 * 1024)
    std::snprintf(text, sizeof text, "%.1f MiB", value / (1024 * 1024));
  else if (unit == "bytes" && value >= 1024)
    std::snprintf(text, sizeof text, "%.1f KiB", value / 1024);
  else
    std::snprintf(text, sizeof text, "%.0f %s", value, unit.c_str());
  return text;
}

} // namespace

void addOutputOptions(CLI::App &command, OutputOptions &options) {
  command.add_flag("--json", options.json, "Print one JSON object with the outcome on stdout");
}

JobOutput::JobOutput(OutputOptions options, std::string what, std::string unit)
    : options_(options), what_(std::move(what)), unit_(std::move(unit)),
      terminal_(!options.json && isatty(STDERR_FILENO)) {}

ZVJobProgressHandler JobOutput::handler() {
  return [this](const ZVJobProgress &progress) { show(progress); };
}

void JobOutput::show(const ZVJobProgress &progress) {
  if (options_.json) return;
  if (progress.phase == ZVJobPhase::Sending && sendingSince_ < 0)
    sendingSince_ = ZVRunLoop::main().now();
  if (terminal_ && progress.phase == ZVJobPhase::Sending) return bar(progress);
  const int phase = static_cast<int>(progress.phase);
  if (phase == lastPhase_ && progress.phase != ZVJobPhase::Connecting) return;
  if (phase == lastPhase_ && progress.attempt <= 1) return;
  lastPhase_ = phase;
  if (barShown_) std::cerr << "\n";
  barShown_ = false;
  if (progress.phase == ZVJobPhase::Finished) return;
  std::cerr << "zvprint: " << phaseText(progress.phase);
  if (progress.phase == ZVJobPhase::Connecting && progress.attempt > 1)
    std::cerr << " (attempt " << progress.attempt << ")";
  if (progress.phase == ZVJobPhase::Sending)
    std::cerr << " " << amount(double(progress.total), unit_);
  std::cerr << "\n";
}

void JobOutput::bar(const ZVJobProgress &progress) {
  lastPhase_ = static_cast<int>(progress.phase);
  const double total = double(std::max<uint64_t>(progress.total, 1));
  const double done = double(progress.completed);
  const int filled = static_cast<int>(kBarWidth * done / total);
  const double elapsed = ZVRunLoop::main().now() - sendingSince_;
  const double rate = elapsed > 0 ? done / elapsed : 0;
  std::string line = "\r[" + std::string(size_t(filled), '#') +
                     std::string(size_t(kBarWidth - filled), ' ') + "] " + amount(done, unit_) +
                     " of " + amount(total, unit_);
  char tail[64];
  if (rate > 0) {
    std::snprintf(tail, sizeof tail, ", %s/s, %.0f s left", amount(rate, unit_).c_str(),
                  (total - done) / rate);
    line += tail;
  }
  std::cerr << line << "   " << std::flush;
  barShown_ = true;
}

void JobOutput::finish(const ZVJobResult &result, const std::string &successLine,
                       const std::string &extraJson) {
  if (barShown_) std::cerr << "\n";
  barShown_ = false;
  if (options_.json) {
    nlohmann::json out{
        {"ok", result.succeeded},           {"failure", ZVJobFailureName(result.failure)},
        {"reason", result.reason},          {"printer", result.printerName},
        {"virtual", result.virtualPrinter}, {"sent", result.bytesSent},
        {"total", result.bytesTotal},       {"nothing_sent", result.nothingSent},
        {"attempts", result.attempts},      {"seconds", result.seconds}};
    std::string text = out.dump();
    if (!extraJson.empty()) text = text.substr(0, text.size() - 1) + "," + extraJson + "}";
    std::cout << text << "\n";
  }
  if (options_.json && result.succeeded) return;
  if (!result.succeeded) fail(what_ + " failed: " + result.reason);
  std::cout << successLine << "\n";
}

} // namespace zvprint
