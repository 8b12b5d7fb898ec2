/// @file ZVPrintJob.h
/// @brief A print that reports exactly what happened: printed (the printer
/// said so) or failed, with a reason.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVJobTypes.h>
#include <zvprinter/ZVPrintImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <memory>
#include <mutex>

namespace zv::detail {
class JobRun;
}

/// How a print job behaves.
struct ZVPrintJobOptions {
  ZVPrinterTarget printer;
  ZVJobConnectOptions connection;
  /// Ask the printer's status before sending, and refuse when it is out of
  /// paper or busy.
  bool checkStatus = true;
  /// Seconds to wait for an answer to a status query.
  double statusTimeout = 3.0;
  /// The job fails when no byte moved for this many seconds while sending.
  double stallTimeout = 10.0;
  /// Seconds the printer has to confirm after the last byte left, before
  /// the share that grows with the job (see confirmDeadline()).
  double confirmTimeout = 10.0;
  /// Bytes per second the confirmation deadline allows for printing.
  double confirmBytesPerSecond = 8192;
};

/// One print, from connecting to the printer's confirmation.
///
/// Steps: find and connect the printer (ZVJobConnectOptions: a bounded
/// number of attempts; a printer already connected is used as it is and
/// left connected); ask its status (ESC ! ?) and refuse when it is out of
/// paper (status bit 2) or printing (bit 0); write the data through
/// ZVDataDispatcher with progress; wait for "dithering_finis"; ask the status
/// once more, so paper that ran out during the job is not reported printed.
///
/// Outcomes, exactly one per job:
/// - succeeded: only after the printer's "dithering_finis" for this job, on
///   the same link, after the last byte was written;
/// - failed, with ZVJobFailure and a reason: refused write, link lost
///   (Bluetooth switched off included, which the link reports only as a
///   disconnection), no progress for stallTimeout, no confirmation within
///   confirmDeadline(), paper out (before or during the job), busy, no
///   answer to the status query, not found, could not connect, cancelled.
///
/// No second copy: the job never sends its data twice. Connection attempts
/// are repeated only before any byte of the job was handed to the link, and
/// ZVJobResult::nothingSent tells a caller whether sending again is safe.
///
/// For its duration the job is the connection facade's delegate and owns the
/// dispatcher's status and print-finished callbacks and its resolver (the
/// application's resolver still sees every byte); it puts back what was
/// installed when it ends.
///
/// Threading: start() and cancel() may be called from any thread; the job
/// runs on the main queue (ZVRunLoop::main()), where the progress handler
/// and the completion are called. run() runs the main queue on the calling
/// thread until the job ends: use it where nothing else runs the main queue
/// (a command-line tool, a test), never while another thread runs it.
/// One job at a time: jobs share the one printer link.
class ZV_EXPORT ZVPrintJob {
public:
  explicit ZVPrintJob(ZVData printData, ZVPrintJobOptions options = {});
  /// A job printing @p image in @p mode (0 threshold, 1 error diffusion, 2
  /// clustered dot) after ZVPrintImage::prepare(); an image that cannot be
  /// converted gives a job that fails with ZVJobFailure::InvalidJob.
  static ZVPrintJob forImage(const ZVImage &image, int64_t mode,
                             const ZVPrintImageOptions &imageOptions = {},
                             ZVPrintJobOptions options = {});
  ZVPrintJob(const ZVPrintJob &) = delete;
  ZVPrintJob &operator=(const ZVPrintJob &) = delete;
  ZVPrintJob(ZVPrintJob &&other) noexcept;

  /// Called on the main queue with each phase and the byte counts.
  void setProgressHandler(ZVJobProgressHandler handler);
  /// Starts the job on the main queue; @p completion gets its one outcome
  /// there. Start a job once.
  void start(ZVJobCompletion completion);
  /// start(), then runs the main queue on this thread until the outcome.
  ZVJobResult run();
  /// Ends a running job as cancelled (data not yet written is dropped).
  void cancel();

  const ZVData &printData() const { return data_; }
  /// Seconds the printer has to confirm once the last byte left:
  /// confirmTimeout + bytes / confirmBytesPerSecond.
  double confirmDeadline() const;

private:
  ZVData data_;
  ZVPrintJobOptions options_;
  ZVJobProgressHandler progress_;
  std::mutex mutex_;
  std::weak_ptr<zv::detail::JobRun> run_;
};
