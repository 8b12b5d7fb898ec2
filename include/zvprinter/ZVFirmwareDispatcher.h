/// @file ZVFirmwareDispatcher.h
/// @brief One acknowledged firmware transfer: one frame in flight, repeats
/// on rejection or silence, one failure report.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// Sends the frames of a firmware image (ZVPackProtocol) strictly one at a
/// time. Each frame waits for the printer's acknowledgement (ESC FS & and 5
/// bytes, the fourth the result, 0 for accepted) for 7.0 s. A rejected or
/// unanswered frame is sent again; resendCount() counts repeats of the frame
/// in flight, shared by rejections and time-outs, and returns to 0 only when
/// a frame is accepted. The failure after maxResendCount() repeats (the 6th
/// send, by default, about 42 s after the first when the printer stays
/// silent) ends the transfer with one call of sendFailedBlock().
///
/// Progress counts slices: 0 of N at start(), then one step per accepted
/// slice up to N of N, which is the transfer's completion.
///
/// ZVDataDispatcher::writeFirmwareData makes one, starts it and routes the
/// acknowledgements into readSliceAck() through the link's reply processor,
/// which keeps the sender alive until its last slice is accepted. An
/// application that wants other limits makes its own with std::make_shared,
/// sets slices(), totalPackCount(), the callbacks and maxResendCount(),
/// calls start() and installs on ZVPeripheralManager::share().processer() a
/// resolverFirmwareBlock that holds the sender and calls readSliceAck().
///
/// Defined where the transfer would otherwise stall or misbehave:
/// - start() with no slices, or with a slice whose data is empty (a frame
///   that cannot be sent, so could never be acknowledged), sends nothing and
///   reports one failure, posted to the main queue.
/// - An acknowledgement shorter than 4 bytes counts as a rejection.
/// - Acknowledgements and time-outs after the transfer ended change nothing.
///
/// As with any sender of this library: without a connection at write time
/// the frame is not sent and no timer is armed, so the transfer stalls
/// without a report (the print layer's ZVFirmwareJob watches for that).
///
/// Threading: main queue only (ZVRunLoop::main()): the acknowledgement timer
/// runs there and acknowledgements arrive there.
class ZV_EXPORT ZVFirmwareDispatcher : public std::enable_shared_from_this<ZVFirmwareDispatcher> {
public:
  using ProgressBlock = std::function<void(const ZVProgress &)>;
  using FailBlock = std::function<void()>;

  /// Seconds a frame waits for its acknowledgement.
  static constexpr double kAckTimeout = 7.0;
  /// Repeats of one frame before the transfer fails.
  static constexpr int64_t kDefaultMaxResendCount = 5;

  ZVFirmwareDispatcher() = default;
  ZVFirmwareDispatcher(const ZVFirmwareDispatcher &) = delete;
  ZVFirmwareDispatcher &operator=(const ZVFirmwareDispatcher &) = delete;

  /// Reports progress, moves the first slice in flight and writes it.
  void start();
  /// Sends one frame (unless type() is not 0) and arms the 7.0 s timer;
  /// nothing at all without a connection.
  void writeSlice(const ZVFirmwareSlice &slice);
  /// The printer's answer (A0..A4) to the slice in flight: A3 0 accepted,
  /// anything else rejected. A0..A2 are not matched against the offset.
  void readSliceAck(const ZVData &ack);
  /// The acknowledgement timer expired for @p slice.
  void sendTimeout(const ZVFirmwareSlice &slice);
  /// Calls sendProgressBlock() with completed = total - slices waiting or
  /// in flight.
  void updateProgress();
  /// Empties both slice lists, stops the timer and calls sendFailedBlock().
  void invokeSendFailure();

  const ProgressBlock &sendProgressBlock() const { return sendProgressBlock_; }
  void setSendProgressBlock(ProgressBlock block) { sendProgressBlock_ = std::move(block); }
  const FailBlock &sendFailedBlock() const { return sendFailedBlock_; }
  void setSendFailedBlock(FailBlock block) { sendFailedBlock_ = std::move(block); }
  /// Slices not yet sent, in image order; consumed from the front.
  const std::vector<ZVFirmwareSlice> &slices() const { return slices_; }
  void setSlices(std::vector<ZVFirmwareSlice> slices) { slices_ = std::move(slices); }
  /// The one slice in flight, or none.
  const std::vector<ZVFirmwareSlice> &sendingSlices() const { return sendingSlices_; }
  void setSendingSlices(std::vector<ZVFirmwareSlice> slices) { sendingSlices_ = std::move(slices); }
  int64_t maxResendCount() const { return maxResendCount_; }
  void setMaxResendCount(int64_t count) { maxResendCount_ = count; }
  int64_t resendCount() const { return resendCount_; }
  void setResendCount(int64_t count) { resendCount_ = count; }
  const std::shared_ptr<ZVTimer> &timer() const { return timer_; }
  void setTimer(std::shared_ptr<ZVTimer> timer) { timer_ = std::move(timer); }
  uint64_t totalPackCount() const { return totalPackCount_; }
  void setTotalPackCount(uint64_t count) { totalPackCount_ = count; }
  /// 0: frames go to the peripheral link; any other value runs the same
  /// acknowledgement logic without writing anything.
  uint64_t type() const { return type_; }
  void setType(uint64_t type) { type_ = type; }

private:
  void stopTimer();
  void moveNextSliceInFlight();
  void repeatOrFail();

  ProgressBlock sendProgressBlock_;
  FailBlock sendFailedBlock_;
  std::vector<ZVFirmwareSlice> slices_;
  std::vector<ZVFirmwareSlice> sendingSlices_;
  int64_t maxResendCount_ = kDefaultMaxResendCount;
  int64_t resendCount_ = 0;
  std::shared_ptr<ZVTimer> timer_;
  uint64_t totalPackCount_ = 0;
  uint64_t type_ = 0;
};
