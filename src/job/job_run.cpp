#include "job/job_run.h"

#include "backends/sim/sim_peripheral.h"

#include <zvprinter/ZVPeripheralManager.h>

#include <optional>
#include <utility>

namespace zv::detail {

namespace {

// Long enough for any job, short enough for the loop's nanosecond clock.
constexpr double kRunLimit = 1e9;

} // namespace

JobRun::JobRun(ZVPrinterTarget target, ZVJobConnectOptions options, ZVJobProgressHandler progress,
               ZVJobCompletion completion)
    : progress_(std::move(progress)), completion_(std::move(completion)),
      session_(std::make_shared<PrinterSession>(std::move(target), options, progress_)) {}

JobRun::~JobRun() = default;

void JobRun::begin() {
  self_ = shared_from_this();
  startedAt_ = ZVRunLoop::main().now();
  if (auto invalid = invalidInput()) return fail(std::move(*invalid));
  PrinterSession::Events events;
  events.lost = [weak = weak_from_this()](JobFailure failure) {
    auto self = weak.lock();
    if (self && !self->ended_) self->linkLost(std::move(failure));
  };
  session_->setEvents(std::move(events));
  session_->open([weak = weak_from_this()](std::optional<JobFailure> failure) {
    auto self = weak.lock();
    if (!self || self->ended_) return;
    self->result_.attempts = self->session_->attempts();
    self->result_.printerName = self->session_->printerName();
    if (failure) return self->fail(std::move(*failure));
    // Said in every outcome, so no caller mistakes the virtual paper for real.
    const auto peripheral = ZVPeripheralManager::share().peripheral();
    self->result_.virtualPrinter =
        dynamic_cast<const zv::detail::SimPeripheral *>(peripheral.get()) != nullptr;
    self->connected();
  });
}

void JobRun::cancel() {
  fail(ZVJobFailure::Cancelled, "the job was cancelled");
}

void JobRun::succeed() {
  if (ended_) return;
  result_.succeeded = true;
  result_.failure = ZVJobFailure::None;
  result_.reason.clear();
  end();
}

void JobRun::fail(ZVJobFailure kind, std::string reason) {
  if (ended_) return;
  result_.succeeded = false;
  result_.failure = kind;
  result_.reason = std::move(reason);
  end();
}

void JobRun::end() {
  ended_ = true;
  result_.attempts = session_->attempts();
  result_.printerName = session_->printerName();
  result_.seconds = ZVRunLoop::main().now() - startedAt_;
  tidyUp();
  // A job that failed after sending leaves the link in an unknown state
  // (a refused write keeps its credit spent), so it is closed.
  const bool failedAfterSending = !result_.succeeded && !result_.nothingSent;
  session_->close(failedAfterSending);
  report(ZVJobPhase::Finished, result_.bytesSent, result_.bytesTotal);
  auto keepAlive = std::move(self_);
  if (auto completion = std::exchange(completion_, {})) completion(result_);
}

void JobRun::report(ZVJobPhase phase, uint64_t completed, uint64_t total) {
  if (progress_) progress_(ZVJobProgress{phase, completed, total, session_->attempts()});
}

std::shared_ptr<ZVTimer> JobRun::after(double seconds, std::function<void()> action) {
  return ZVRunLoop::main().schedule(seconds, [weak = weak_from_this(), action = std::move(action)] {
    auto self = weak.lock();
    if (self && !self->ended_) action();
  });
}

void startOnMainQueue(std::shared_ptr<JobRun> run) {
  ZVRunLoop::main().post([run = std::move(run)] { run->begin(); });
}

ZVJobResult runToCompletion(const std::function<void(ZVJobCompletion)> &start) {
  // Shared with the completion, which outlives this call if the loop stops.
  auto outcome = std::make_shared<std::optional<ZVJobResult>>();
  start([outcome](const ZVJobResult &result) { *outcome = result; });
  // Every stage of a job has a deadline, so the outcome always comes.
  ZVRunLoop::main().runUntil([&outcome] { return outcome->has_value(); }, kRunLimit);
  if (!outcome->has_value()) {
    ZVJobResult stopped;
    stopped.failure = ZVJobFailure::Cancelled;
    stopped.reason = "the main queue was stopped before the job ended";
    return stopped;
  }
  return **outcome;
}

} // namespace zv::detail
