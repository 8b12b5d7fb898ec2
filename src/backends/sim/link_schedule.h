#pragma once

// Timing of a simulated Bluetooth LE link: packets travel only at connection
// events, one every interval, at most a fixed number per event.

#include <cmath>
#include <cstdint>

namespace zv::detail {

class LinkSchedule {
public:
  LinkSchedule(double interval, uint32_t packetsPerEvent)
      : interval_(interval > 0 ? interval : 0.0075),
        packetsPerEvent_(packetsPerEvent > 0 ? packetsPerEvent : 1) {}

  /// The time of the connection event that carries a packet handed to the
  /// link at @p now: the first event after now that still has room.
  double nextSlot(double now) {
    const auto event = static_cast<int64_t>(std::floor(now / interval_)) + 1;
    if (event > lastEvent_) {
      lastEvent_ = event;
      used_ = 0;
    }
    if (used_ == packetsPerEvent_) {
      ++lastEvent_;
      used_ = 0;
    }
    ++used_;
    return static_cast<double>(lastEvent_) * interval_;
  }

  double interval() const { return interval_; }
  void reset() {
    lastEvent_ = -1;
    used_ = 0;
  }

private:
  double interval_;
  uint32_t packetsPerEvent_;
  int64_t lastEvent_ = -1;
  uint32_t used_ = 0;
};

} // namespace zv::detail
