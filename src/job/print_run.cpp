#include "job/print_run.h"

#include <zvprinter/ZVCmdTSCGenerator.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVPeripheralManager.h>

#include <algorithm>
#include <cstdio>

namespace zv::detail {

namespace {

constexpr double kStallCheckInterval = 1.0;

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.0f s", value);
  return text;
}

} // namespace

PrintRun::PrintRun(ZVData data, ZVPrintJobOptions options, ZVJobProgressHandler progress,
                   ZVJobCompletion completion)
    : JobRun(options.printer, options.connection, std::move(progress), std::move(completion)),
      data_(std::move(data)), options_(std::move(options)) {
  result_.bytesTotal = data_.size();
}

std::optional<JobFailure> PrintRun::invalidInput() const {
  if (data_.empty()) return JobFailure{ZVJobFailure::InvalidJob, "there is nothing to print"};
  return std::nullopt;
}

void PrintRun::connected() {
  PrinterSession::Events events;
  events.status = [this](int64_t status) { statusArrived(status); };
  events.printed = [this] { printed(); };
  events.lost = [this](JobFailure failure) { linkLost(std::move(failure)); };
  session().setEvents(std::move(events));
  if (!options_.checkStatus) return send();
  step_ = Step::CheckingStatus;
  report(ZVJobPhase::CheckingStatus);
  askStatus([this](std::optional<int64_t> status) {
    if (!status)
      return fail(ZVJobFailure::StatusUnanswered, "the printer did not answer the status query "
                                                  "within " +
                                                      seconds(options_.statusTimeout));
    if (*status & kStatusPaperOut)
      return fail(ZVJobFailure::PaperOut, "the printer is out of paper");
    if (*status & kStatusPrinting)
      return fail(ZVJobFailure::Busy, "the printer is busy printing another job");
    send();
  });
}

// The session calls back only while the job runs, and the job outlives it.
void PrintRun::askStatus(StatusAnswer answer) {
  statusAnswer_ = std::move(answer);
  statusTimer_ = after(options_.statusTimeout, [this] {
    if (auto answer = std::exchange(statusAnswer_, {})) answer(std::nullopt);
  });
  wroteAnything_ = true;
  ZVDataDispatcher::shared().writeData(
      ZVCmdTSCGenerator::getPrinterStatus(), [](const ZVProgress &) {},
      [weak = weak_from_this(), this] {
        if (!weak.lock() || ended()) return;
        if (step_ == Step::CheckingStatus)
          return fail(ZVJobFailure::WriteRefused, "the printer refused the status query");
        if (auto answer = std::exchange(statusAnswer_, {})) answer(std::nullopt);
      });
}

void PrintRun::statusArrived(int64_t status) {
  if (auto answer = std::exchange(statusAnswer_, {})) {
    if (statusTimer_) statusTimer_->invalidate();
    return answer(status);
  }
  // Unasked: a printer that reports status changes by itself.
  if ((status & kStatusPaperOut) && (step_ == Step::Sending || step_ == Step::Confirming))
    fail(ZVJobFailure::PaperOut, "paper ran out during the job (" + sentSoFar() + ")");
}

void PrintRun::send() {
  if (!ZVPeripheralManager::share().isConnected())
    return fail(ZVJobFailure::LinkLost, "the link to the printer was lost before sending");
  step_ = Step::Sending;
  report(ZVJobPhase::Sending, 0, data_.size());
  lastMovement_ = ZVRunLoop::main().now();
  result_.nothingSent = false;
  wroteAnything_ = true;
  const std::weak_ptr<JobRun> weak = weak_from_this();
  ZVDataDispatcher::shared().writeData(
      data_,
      [weak, this](const ZVProgress &progress) {
        if (weak.lock() && !ended()) progressed(progress);
      },
      [weak, this] {
        if (weak.lock() && !ended() && step_ == Step::Sending)
          fail(ZVJobFailure::WriteRefused, "the printer refused the data (" + sentSoFar() + ")");
      });
  watchStall();
}

void PrintRun::progressed(const ZVProgress &progress) {
  if (step_ != Step::Sending || progress.totalUnitCount <= 0) return;
  // The link counts bytes still queued before this job twice; those come first.
  const int64_t size = static_cast<int64_t>(data_.size());
  const int64_t ahead = std::max<int64_t>(progress.totalUnitCount - size, 0);
  const auto sent =
      static_cast<uint64_t>(std::clamp<int64_t>(progress.completedUnitCount - ahead, 0, size));
  if (sent > result_.bytesSent) lastMovement_ = ZVRunLoop::main().now();
  result_.bytesSent = std::max(result_.bytesSent, sent);
  report(ZVJobPhase::Sending, result_.bytesSent, data_.size());
  if (progress.completedUnitCount >= progress.totalUnitCount) allWritten();
}

void PrintRun::allWritten() {
  step_ = Step::Confirming;
  result_.bytesSent = data_.size();
  report(ZVJobPhase::AwaitingConfirmation, result_.bytesSent, data_.size());
  const double deadline = options_.confirmTimeout +
                          double(data_.size()) / std::max(options_.confirmBytesPerSecond, 1.0);
  stepTimer_ = after(deadline, [this] { confirmationOverdue(); });
}

void PrintRun::printed() {
  if (step_ == Step::Sending) {
    // Only ours once every byte has left: a printer cannot confirm data it
    // has not received, so an earlier report belongs to something else.
    if (!ZVPeripheralManager::share().totalData().empty()) return;
    allWritten();
  }
  if (step_ != Step::Confirming) return;
  if (stepTimer_) stepTimer_->invalidate();
  step_ = Step::FinalCheck;
  askStatus([this](std::optional<int64_t> status) {
    if (status && (*status & kStatusPaperOut))
      return fail(ZVJobFailure::PaperOut, "paper ran out during the job");
    succeed(); // the printer's word stands even if the status query goes unanswered
  });
}

void PrintRun::confirmationOverdue() {
  step_ = Step::Expired;
  const double deadline = options_.confirmTimeout +
                          double(data_.size()) / std::max(options_.confirmBytesPerSecond, 1.0);
  askStatus([this, deadline](std::optional<int64_t> status) {
    if (status && (*status & kStatusPaperOut))
      return fail(ZVJobFailure::PaperOut, "paper ran out during the job");
    fail(ZVJobFailure::NeverConfirmed, "the printer did not confirm the print within " +
                                           seconds(deadline) + " of receiving all " +
                                           std::to_string(data_.size()) + " bytes");
  });
}

void PrintRun::watchStall() {
  stepTimer_ = after(kStallCheckInterval, [this] {
    if (step_ != Step::Sending) return;
    if (ZVRunLoop::main().now() - lastMovement_ >= options_.stallTimeout) {
      return fail(ZVJobFailure::Stalled,
                  "no data moved for " + seconds(options_.stallTimeout) + " (" + sentSoFar() + ")");
    }
    watchStall();
  });
}

void PrintRun::linkLost(JobFailure failure) {
  // The printer has already said it printed; only the follow-up status
  // query is lost with the link.
  if (step_ == Step::FinalCheck) return succeed();
  if (step_ == Step::Sending || step_ == Step::Confirming)
    failure.reason += " (" + sentSoFar() + ")";
  fail(std::move(failure));
}

std::string PrintRun::sentSoFar() const {
  return std::to_string(result_.bytesSent) + " of " + std::to_string(data_.size()) + " bytes sent";
}

void PrintRun::tidyUp() {
  if (statusTimer_) statusTimer_->invalidate();
  if (stepTimer_) stepTimer_->invalidate();
  statusAnswer_ = {};
  // Drops what is still queued and removes this job's link callbacks.
  if (wroteAnything_) ZVDataDispatcher::shared().clearBufferData();
}

} // namespace zv::detail
