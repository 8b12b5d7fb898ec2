#include "job/reply_lines.h"

namespace zv::detail {

void ReplyLines::feed(std::span<const uint8_t> bytes) {
  buffer_.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
  // A printer that never ends its line must not grow the buffer for ever:
  // keep only the tail that could still hold the start of a line.
  if (buffer_.size() > 2 * kMaxLine && buffer_.rfind("\r\n") == std::string::npos)
    buffer_.erase(0, buffer_.size() - kMaxLine);
}

std::optional<std::string> ReplyLines::take(const std::string &name) {
  const std::string key = name + "=";
  size_t start = 0;
  while (true) {
    const size_t end = buffer_.find("\r\n", start);
    if (end == std::string::npos) {
      buffer_.erase(0, start);
      return std::nullopt;
    }
    // Other replies may stand in front of the answer on the same line.
    const size_t at = buffer_.find(key, start);
    if (at != std::string::npos && at < end) {
      std::string value = buffer_.substr(at + key.size(), end - at - key.size());
      buffer_.erase(0, end + 2);
      return value;
    }
    start = end + 2;
  }
}

} // namespace zv::detail
