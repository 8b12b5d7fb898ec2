#pragma once

// The print layer's hold on one printer for the length of a job: finds it,
// connects with a bounded number of attempts, and passes on what the printer
// says and when the link goes. Main queue only.

#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVJobTypes.h>
#include <zvprinter/ZVRunLoop.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zv::detail {

struct JobFailure {
  ZVJobFailure kind = ZVJobFailure::None;
  std::string reason;
};

class PrinterSession : public ZVPrinterInterfaceDelegate,
                       public std::enable_shared_from_this<PrinterSession> {
public:
  /// What the printer says once the link is usable; every member optional.
  struct Events {
    std::function<void(int64_t status)> status;
    std::function<void()> printed;
    std::function<void(const ZVData &)> received;
    /// The usable link went away (closed, lost, Bluetooth off).
    std::function<void(JobFailure)> lost;
  };
  using Opened = std::function<void(std::optional<JobFailure>)>;

  PrinterSession(ZVPrinterTarget target, ZVJobConnectOptions options,
                 ZVJobProgressHandler progress);
  ~PrinterSession() override;

  /// Becomes the facade's delegate and the dispatcher's listener (keeping
  /// what was installed, for close()), then finds and connects the printer.
  /// @p opened runs once: without a failure when the link is usable.
  void open(Opened opened);
  void setEvents(Events events) { events_ = std::move(events); }
  /// Puts back the previous delegate and callbacks; closes the link when
  /// this session opened it and the options say so, or when @p force.
  void close(bool force);

  int attempts() const { return attempt_; }
  const std::string &printerName() const { return printerName_; }
  bool isOpen() const { return open_; }

  // ZVPrinterInterfaceDelegate
  void didDiscoverBLEPrints(const std::vector<std::shared_ptr<ZVPrinterMessage>> &list) override;
  void didConnectSuccess() override;
  void didConnectFail(const ZVError &error) override;
  void didDisconnect(bool orderly) override;

private:
  enum class Stage {
    Idle,
    WaitingForBluetooth,
    Scanning,
    Connecting,
    BetweenAttempts,
    Open,
    Closed
  };

  void waitForBluetooth(double waited);
  void chooseTarget();
  bool matches(const ZVPrinterMessage &printer) const;
  void connectAttempt();
  void attemptFailed(const std::string &reason);
  void opened();
  void finishOpening(std::optional<JobFailure> failure);
  void watchLink();
  void lose(JobFailure failure);
  void report(ZVJobPhase phase);
  std::shared_ptr<ZVTimer> after(double seconds, std::function<void(PrinterSession &)> action);
  void armStage(double seconds, std::function<void(PrinterSession &)> action);
  void installListeners();

  ZVPrinterTarget target_;
  ZVJobConnectOptions options_;
  ZVJobProgressHandler progress_;
  Opened opened_;
  Events events_;
  Stage stage_ = Stage::Idle;
  std::shared_ptr<ZVPrinterMessage> record_;
  std::string printerName_;
  int attempt_ = 0;
  double attemptStarted_ = 0;
  std::string lastReason_;
  bool openedLink_ = false;
  bool open_ = false;
  std::shared_ptr<ZVTimer> stageTimer_;
  std::shared_ptr<ZVTimer> watchTimer_;

  // What was installed before the session, put back by close().
  bool installed_ = false;
  std::weak_ptr<ZVPrinterInterfaceDelegate> previousDelegate_;
  ZVDataDispatcher::TarvoStateBlock previousStatus_;
  ZVDataDispatcher::PrintCompleteBlock previousPrinted_;
  std::shared_ptr<ZVDataResolver> previousResolver_;
};

/// Describes Bluetooth being unusable, or std::nullopt when it is on.
std::optional<JobFailure> bluetoothUnusable();

} // namespace zv::detail
