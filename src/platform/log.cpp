#include "platform/log.h"

#include <zvprinter/ZVLog.h>

#include <cstdio>
#include <mutex>
#include <string>

namespace {

struct LogState {
  std::mutex mutex;
  ZVLogHandler handler = ZVDefaultLogHandler;
};

LogState &logState() {
  static LogState state;
  return state;
}

} // namespace

void ZVSetLogHandler(ZVLogHandler handler) {
  LogState &state = logState();
  const std::lock_guard lock(state.mutex);
  state.handler = std::move(handler);
}

void ZVDefaultLogHandler(std::string_view line) {
  std::string text(line);
  text += '\n';
  std::fwrite(text.data(), 1, text.size(), stderr);
}

namespace zv::detail {

void logLine(std::string_view line) {
  ZVLogHandler handler;
  {
    LogState &state = logState();
    const std::lock_guard lock(state.mutex);
    handler = state.handler;
  }
  if (handler) handler(line);
}

} // namespace zv::detail
