// The firmware job: the acknowledged transfer of ZVFirmwareDispatcher,
// watched until every frame is accepted or the update has clearly failed.
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVFirmwareDispatcher.h>
#include <zvprinter/ZVFirmwareJob.h>
#include <zvprinter/ZVPackProtocol.h>
#include <zvprinter/ZVPeripheralManager.h>

#include "job/job_run.h"

#include <algorithm>

namespace zv::detail {

namespace {

// Longer than a frame's own repeats can take, so the sender reports first
// whenever it still can.
double stallLimit(int64_t maxResendCount) {
  return ZVFirmwareDispatcher::kAckTimeout * double(std::max<int64_t>(maxResendCount, 0) + 1) + 5.0;
}

class FirmwareRun final : public JobRun {
public:
  FirmwareRun(std::vector<ZVFirmwareSlice> slices, ZVFirmwareJobOptions options,
              std::optional<std::string> refusal, ZVJobProgressHandler progress,
              ZVJobCompletion completion)
      : JobRun(options.printer, options.connection, std::move(progress), std::move(completion)),
        slices_(std::move(slices)), options_(std::move(options)), refusal_(std::move(refusal)) {
    result_.bytesTotal = slices_.size();
  }

private:
  std::optional<JobFailure> invalidInput() const override {
    if (refusal_) return JobFailure{ZVJobFailure::InvalidJob, *refusal_};
    const bool emptyFrame = std::any_of(slices_.begin(), slices_.end(),
                                        [](const auto &slice) { return slice.data.empty(); });
    if (slices_.empty() || emptyFrame)
      return JobFailure{ZVJobFailure::InvalidJob, "there are no firmware frames to send"};
    return std::nullopt;
  }

  void connected() override {
    // Callbacks a previous write left on the link must not speak for frames.
    ZVDataDispatcher::shared().clearBufferData();
    sender_ = std::make_shared<ZVFirmwareDispatcher>();
    sender_->setSlices(slices_);
    sender_->setTotalPackCount(slices_.size());
    sender_->setMaxResendCount(options_.maxResendCount);
    const std::weak_ptr<JobRun> weak = weak_from_this();
    sender_->setSendProgressBlock([weak, this](const ZVProgress &progress) {
      if (weak.lock() && !ended()) progressed(progress);
    });
    sender_->setSendFailedBlock([weak, this] {
      if (!weak.lock() || ended()) return;
      fail(ZVJobFailure::FirmwareRejected,
           "frame " + std::to_string(result_.bytesSent + 1) + " of " +
               std::to_string(slices_.size()) + " was not accepted after " +
               std::to_string(options_.maxResendCount + 1) + " sends");
    });
    if (const auto &processor = ZVPeripheralManager::share().processer()) {
      processor->setResolverFirmwareBlock(
          [sender = sender_](const ZVData &ack) { sender->readSliceAck(ack); });
    }
    result_.nothingSent = false;
    lastMovement_ = ZVRunLoop::main().now();
    sender_->setType(0);
    sender_->start();
    watchStall();
  }

  void progressed(const ZVProgress &progress) {
    const auto accepted = static_cast<uint64_t>(std::max<int64_t>(progress.completedUnitCount, 0));
    if (accepted > result_.bytesSent) lastMovement_ = ZVRunLoop::main().now();
    result_.bytesSent = std::max(result_.bytesSent, accepted);
    report(ZVJobPhase::Sending, result_.bytesSent, slices_.size());
    if (progress.totalUnitCount > 0 && progress.completedUnitCount >= progress.totalUnitCount)
      succeed();
  }

  void watchStall() {
    stallTimer_ = after(1.0, [this] {
      const double limit = stallLimit(options_.maxResendCount);
      if (ZVRunLoop::main().now() - lastMovement_ >= limit) {
        return fail(ZVJobFailure::Stalled,
                    "no firmware frame was accepted for " + std::to_string(int(limit)) + " s");
      }
      watchStall();
    });
  }

  void tidyUp() override {
    if (stallTimer_) stallTimer_->invalidate();
    if (!sender_) return;
    // Stop the sender for good: no frame may follow the outcome.
    sender_->setSendFailedBlock({});
    sender_->setSendProgressBlock({});
    sender_->setSlices({});
    sender_->setSendingSlices({});
    if (const auto &timer = sender_->timer()) timer->invalidate();
    sender_->setTimer(nullptr);
    if (const auto &processor = ZVPeripheralManager::share().processer())
      processor->setResolverFirmwareBlock({});
  }

  std::vector<ZVFirmwareSlice> slices_;
  ZVFirmwareJobOptions options_;
  std::optional<std::string> refusal_;
  std::shared_ptr<ZVFirmwareDispatcher> sender_;
  std::shared_ptr<ZVTimer> stallTimer_;
  double lastMovement_ = 0;
};

} // namespace

} // namespace zv::detail

ZVFirmwareJob::ZVFirmwareJob(std::vector<ZVFirmwareSlice> slices, ZVFirmwareJobOptions options)
    : slices_(std::move(slices)), options_(std::move(options)) {}

ZVFirmwareJob::ZVFirmwareJob(ZVFirmwareJob &&other) noexcept
    : slices_(std::move(other.slices_)), options_(std::move(other.options_)),
      refusal_(std::move(other.refusal_)), progress_(std::move(other.progress_)) {
  std::lock_guard lock(other.mutex_);
  run_ = std::move(other.run_);
}

ZVFirmwareJob ZVFirmwareJob::forImage(const ZVData &image, ZVFirmwareJobOptions options) {
  auto refused = refusal(image);
  ZVFirmwareJob job(refused ? std::vector<ZVFirmwareSlice>{}
                            : ZVPackProtocol::generateFirmwarePacksWithData(image),
                    std::move(options));
  job.refusal_ = std::move(refused);
  return job;
}

void ZVFirmwareJob::setProgressHandler(ZVJobProgressHandler handler) {
  progress_ = std::move(handler);
}

void ZVFirmwareJob::start(ZVJobCompletion completion) {
  auto run = std::make_shared<zv::detail::FirmwareRun>(slices_, options_, refusal_, progress_,
                                                       std::move(completion));
  {
    std::lock_guard lock(mutex_);
    run_ = run;
  }
  zv::detail::startOnMainQueue(std::move(run));
}

ZVJobResult ZVFirmwareJob::run() {
  return zv::detail::runToCompletion(
      [this](ZVJobCompletion completion) { start(std::move(completion)); });
}

void ZVFirmwareJob::cancel() {
  std::lock_guard lock(mutex_);
  ZVRunLoop::main().post([weak = run_] {
    if (auto run = weak.lock()) run->cancel();
  });
}
