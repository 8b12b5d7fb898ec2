#pragma once

// Hands rows of an image from the thread that decodes them to the thread
// that converts them while the decode goes on.

#include <atomic>
#include <cstdint>

namespace zv::detail {

/// The number of leading rows of an image that are final.
///
/// Threading: one thread publishes, any number await. Everything the
/// publisher wrote to rows [0, n) before publish(n) is visible to a thread
/// that has returned from await(m) with m <= n.
class RowGate {
public:
  /// Rows [0, @p rows) are final; @p rows never decreases.
  void publish(uint32_t rows) {
    ready_.store(rows, std::memory_order_release);
    ready_.notify_all();
  }

  /// Blocks until rows [0, @p rows) are final.
  void await(uint32_t rows) const {
    uint32_t now = ready_.load(std::memory_order_acquire);
    while (now < rows) {
      ready_.wait(now, std::memory_order_acquire);
      now = ready_.load(std::memory_order_acquire);
    }
  }

private:
  std::atomic<uint32_t> ready_{0};
};

} // namespace zv::detail
