/// @file ZVPrinterQuery.h
/// @brief Asking the printer things and setting its Wi-Fi, with an answer
/// or a clear failure for each.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVJobTypes.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// One command and the answer it expects.
struct ZVPrinterRequest {
  ZVData command;
  /// The answer's name ("printer_name" for "printer_name=..." CR LF); empty:
  /// the answer is the printer's status ("tarvo_sta=").
  std::string replyName;
};

struct ZVPrinterQueryOptions {
  ZVPrinterTarget printer;
  ZVJobConnectOptions connection;
  /// Seconds each request waits for its answer.
  double answerTimeout = 3.0;
};

/// The printer's status byte, as the printers of this library report it.
struct ZVPrinterStatus {
  int64_t raw = 0; ///< status with the top bit cleared
  bool printing() const { return raw & 0x01; }
  bool paperOut() const { return raw & 0x04; }
};

/// Connects (as ZVPrintJob does), sends each request in turn and waits for
/// its answer. Succeeds when every request was answered; an answer "ERROR"
/// fails with CommandRefused, none within answerTimeout with NoAnswer.
///
/// Threading as ZVPrintJob: run() on a thread where nothing else runs the
/// main queue; the answers are read after run() returned.
class ZV_EXPORT ZVPrinterQuery {
public:
  ZVPrinterQuery(std::vector<ZVPrinterRequest> requests, ZVPrinterQueryOptions options = {});

  /// The status (ESC ! ?).
  static std::vector<ZVPrinterRequest> status();
  /// Model name, firmware version, serial number (ESC FS & V1 getval ...).
  static std::vector<ZVPrinterRequest> info();
  /// The Wi-Fi settings ("WM:..;WS:..;WI:..;WA:..").
  static std::vector<ZVPrinterRequest> wifiShow();
  /// One setting per given field, then nothing else; mode 0 station, 1
  /// access point.
  static std::vector<ZVPrinterRequest> wifiSet(const std::optional<std::string> &ssid,
                                               const std::optional<std::string> &password,
                                               std::optional<int64_t> mode,
                                               const std::optional<std::string> &ip,
                                               std::optional<uint64_t> auth);
  /// Restart the Wi-Fi with the stored settings.
  static std::vector<ZVPrinterRequest> wifiRestart();

  void setProgressHandler(ZVJobProgressHandler handler) { progress_ = std::move(handler); }
  ZVJobResult run();
  /// One answer per request, in order (the status as a decimal number),
  /// as far as they came.
  const std::vector<std::string> &answers() const { return answers_; }

private:
  std::vector<ZVPrinterRequest> requests_;
  ZVPrinterQueryOptions options_;
  ZVJobProgressHandler progress_;
  std::vector<std::string> answers_;
};
