#pragma once

// The calls the library made on a simulated central and its peripherals,
// one line each, so a test can assert what reached the platform (and that
// nothing did). Written from the main queue and from the write queue.

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zv::detail {

class SimCallLog {
public:
  void add(std::string line) {
    std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
  }
  std::vector<std::string> lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
  }

private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

} // namespace zv::detail
