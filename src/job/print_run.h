#pragma once

// The steps of one print: status first, the write with progress and a stall
// watch, then the printer's confirmation within a deadline.

#include "job/job_run.h"

#include <zvprinter/ZVPrintJob.h>

#include <functional>
#include <optional>

namespace zv::detail {

/// Status bits this library's printers report (after the top bit is cleared).
inline constexpr int64_t kStatusPrinting = 0x01;
inline constexpr int64_t kStatusPaperOut = 0x04;

class PrintRun final : public JobRun {
public:
  PrintRun(ZVData data, ZVPrintJobOptions options, ZVJobProgressHandler progress,
           ZVJobCompletion completion);

private:
  enum class Step { Connecting, CheckingStatus, Sending, Confirming, FinalCheck, Expired };
  using StatusAnswer = std::function<void(std::optional<int64_t>)>;

  std::optional<JobFailure> invalidInput() const override;
  void connected() override;
  void linkLost(JobFailure failure) override;
  void tidyUp() override;

  void askStatus(StatusAnswer answer);
  void statusArrived(int64_t status);
  void send();
  void progressed(const ZVProgress &progress);
  void allWritten();
  void printed();
  void watchStall();
  void confirmationOverdue();
  std::string sentSoFar() const;

  ZVData data_;
  ZVPrintJobOptions options_;
  Step step_ = Step::Connecting;
  StatusAnswer statusAnswer_;
  std::shared_ptr<ZVTimer> statusTimer_;
  std::shared_ptr<ZVTimer> stepTimer_;
  double lastMovement_ = 0;
  bool wroteAnything_ = false;
};

} // namespace zv::detail
