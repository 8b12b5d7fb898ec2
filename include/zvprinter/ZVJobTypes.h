/// @file ZVJobTypes.h
/// @brief What the print layer's jobs (ZVPrintJob, ZVFirmwareJob,
/// ZVPrinterQuery) share: the printer to use, how to connect, progress and
/// the one outcome of a job.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVPrinterMessage.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/// Which printer a job uses.
struct ZVPrinterTarget {
  enum class Kind {
    Connected,  ///< the printer connected now, else the first one a scan finds
    Record,     ///< a record from the discovery list
    Identifier, ///< the printer whose identifier is this (case-insensitive)
    Name,       ///< the first printer whose name contains this (case-insensitive)
  };
  Kind kind = Kind::Connected;
  std::shared_ptr<ZVPrinterMessage> record;
  std::string text; ///< the identifier or the name to look for

  static ZVPrinterTarget any() { return {}; }
  static ZVPrinterTarget fromRecord(std::shared_ptr<ZVPrinterMessage> printer) {
    return {Kind::Record, std::move(printer), {}};
  }
  static ZVPrinterTarget withIdentifier(std::string identifier) {
    return {Kind::Identifier, nullptr, std::move(identifier)};
  }
  static ZVPrinterTarget named(std::string name) { return {Kind::Name, nullptr, std::move(name)}; }
  /// An identifier when @p text has the backend's identifier shape
  /// (ZVBleCentral::isValidIdentifier), else a name; any() when empty.
  /// Main queue (it asks the backend).
  static ZVPrinterTarget fromText(const std::string &text);
};

/// How a job finds and connects its printer.
struct ZVJobConnectOptions {
  /// Connection attempts before giving up (at least 1).
  int attempts = 3;
  /// Seconds a scan looks for the printer.
  double scanTimeout = 10.0;
  /// Seconds one attempt may take, from the connect request to a usable
  /// link (the link's own time-outs are 4.0 s to open and 3.0 s to find the
  /// services; an IVT module then still has to announce its credits).
  double attemptTimeout = 10.0;
  /// Close the link when the job ends, if the job opened it. A job that
  /// failed after sending closes it in any case, so the next job starts on
  /// a fresh link (a refused write leaves the link without credit).
  bool disconnectWhenDone = true;
};

/// Why a job failed. Every failure comes with a one-line reason as well.
enum class ZVJobFailure {
  None,             ///< the job succeeded
  InvalidJob,       ///< nothing to send (empty data, unreadable image, no firmware frames)
  BluetoothOff,     ///< Bluetooth is off or unavailable
  NotFound,         ///< no matching printer was found
  ConnectFailed,    ///< every connection attempt failed
  StatusUnanswered, ///< the printer did not answer the status query
  Busy,             ///< the printer is printing another job
  PaperOut,         ///< out of paper, before or during the job
  WriteRefused,     ///< the printer's module refused a write
  LinkLost,         ///< the link closed (also: Bluetooth switched off)
  Stalled,          ///< no data moved for the stall interval
  NeverConfirmed,   ///< all data sent, but the printer never said it printed
  FirmwareRejected, ///< a firmware frame was refused or unanswered too often
  NoAnswer,         ///< the printer did not answer a query
  CommandRefused,   ///< the printer answered a query or a setting with ERROR
  Cancelled,        ///< cancel() was called
};

/// A short lower-case name of @p failure ("link-lost", ...) for scripts.
ZV_EXPORT const char *ZVJobFailureName(ZVJobFailure failure);

/// The one outcome of a job.
struct ZVJobResult {
  /// True only when the printer itself confirmed the job: a print with
  /// "dithering_finis", a firmware update with every frame accepted, a
  /// query with its answer.
  bool succeeded = false;
  ZVJobFailure failure = ZVJobFailure::None;
  /// One line a person understands ("the printer is out of paper").
  std::string reason;
  /// No byte of the job was handed to the link, so sending it again cannot
  /// put a second copy on the paper.
  bool nothingSent = true;
  uint64_t bytesTotal = 0; ///< bytes (firmware: frames) of the job
  uint64_t bytesSent = 0;  ///< bytes (firmware: frames accepted) so far
  int attempts = 0;        ///< connection attempts made
  double seconds = 0;      ///< main-queue clock time from start to the outcome
  std::string printerName; ///< the printer used, when one was found
  /// The printer was the built-in virtual printer (ZVSimCentral): nothing
  /// went over Bluetooth and no real paper was used.
  bool virtualPrinter = false;
};

/// Where a job is.
enum class ZVJobPhase {
  Scanning,
  Connecting,
  CheckingStatus,
  Sending,
  AwaitingConfirmation,
  Finished,
};

/// A progress report: the phase, and byte (firmware: frame) counts while
/// sending.
struct ZVJobProgress {
  ZVJobPhase phase = ZVJobPhase::Scanning;
  uint64_t completed = 0;
  uint64_t total = 0;
  int attempt = 0;
};

/// Called on the main queue with each progress report.
using ZVJobProgressHandler = std::function<void(const ZVJobProgress &)>;
/// Called once, on the main queue, with the outcome.
using ZVJobCompletion = std::function<void(const ZVJobResult &)>;
