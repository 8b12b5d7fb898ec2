#pragma once

// Timing of a simulated Bluetooth LE link: packets travel only at connection
// events, one every interval, at most a fixed number per event in each
// direction (a notification rides back in the same event as a write, as
// the peripheral's answer to the central's packet does on air).

#include <cmath>
#include <cstdint>

namespace zv::detail {

class LinkSchedule {
public:
  enum class Direction { ToPrinter, ToHost };

  LinkSchedule(double interval, uint32_t packetsPerEvent)
      : interval_(interval > 0 ? interval : 0.0075),
        packetsPerEvent_(packetsPerEvent > 0 ? packetsPerEvent : 1) {}

  /// The time of the connection event that carries a packet handed to the
  /// link at @p now in @p direction: the first event after now that still
  /// has room in that direction.
  double nextSlot(double now, Direction direction = Direction::ToHost) {
    Lane &lane = direction == Direction::ToPrinter ? toPrinter_ : toHost_;
    const auto event = static_cast<int64_t>(std::floor(now / interval_)) + 1;
    if (event > lane.lastEvent) {
      lane.lastEvent = event;
      lane.used = 0;
    }
    if (lane.used == packetsPerEvent_) {
      ++lane.lastEvent;
      lane.used = 0;
    }
    ++lane.used;
    return static_cast<double>(lane.lastEvent) * interval_;
  }

  double interval() const { return interval_; }
  void reset() { toPrinter_ = toHost_ = Lane{}; }

private:
  struct Lane {
    int64_t lastEvent = -1;
    uint32_t used = 0;
  };
  double interval_;
  uint32_t packetsPerEvent_;
  Lane toPrinter_;
  Lane toHost_;
};

} // namespace zv::detail
