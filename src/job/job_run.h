#pragma once

// What every job of the print layer does around its own steps: open the
// printer, report progress, end exactly once with a result, tidy up. Main
// queue only; a run keeps itself alive until it has ended.

#include "job/printer_session.h"

#include <zvprinter/ZVJobTypes.h>
#include <zvprinter/ZVRunLoop.h>

#include <functional>
#include <memory>
#include <string>

namespace zv::detail {

class JobRun : public std::enable_shared_from_this<JobRun> {
public:
  JobRun(ZVPrinterTarget target, ZVJobConnectOptions options, ZVJobProgressHandler progress,
         ZVJobCompletion completion);
  virtual ~JobRun();
  JobRun(const JobRun &) = delete;
  JobRun &operator=(const JobRun &) = delete;

  /// Starts the job: checks the input, then opens the printer.
  void begin();
  /// Ends the job as cancelled, if it has not ended.
  void cancel();

protected:
  /// Why the job cannot run at all, checked before anything is sent.
  virtual std::optional<JobFailure> invalidInput() const { return std::nullopt; }
  /// The link is usable: the job's own steps start here.
  virtual void connected() = 0;
  /// The usable link went away; ends the job with @p failure unless the
  /// job knows better.
  virtual void linkLost(JobFailure failure) { fail(std::move(failure)); }
  /// Undoes what the job started on the link (called once, before the
  /// completion, whatever the outcome).
  virtual void tidyUp() {}

  void succeed();
  void fail(ZVJobFailure kind, std::string reason);
  void fail(JobFailure failure) { fail(failure.kind, std::move(failure.reason)); }
  bool ended() const { return ended_; }
  void report(ZVJobPhase phase, uint64_t completed = 0, uint64_t total = 0);
  /// Runs @p action after @p seconds unless the job has ended by then.
  std::shared_ptr<ZVTimer> after(double seconds, std::function<void()> action);
  PrinterSession &session() { return *session_; }

  ZVJobResult result_;

private:
  void end();

  ZVJobProgressHandler progress_;
  ZVJobCompletion completion_;
  std::shared_ptr<PrinterSession> session_;
  std::shared_ptr<JobRun> self_; // the run owns itself until it ends
  double startedAt_ = 0;
  bool ended_ = false;
};

/// Starts @p run on the main queue (posted, so from any thread).
void startOnMainQueue(std::shared_ptr<JobRun> run);

/// Runs the main queue on the calling thread until @p start's run has
/// reported its outcome, and returns it.
ZVJobResult runToCompletion(const std::function<void(ZVJobCompletion)> &start);

} // namespace zv::detail
