#include "job/printer_session.h"

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVPeripheralManager.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>

namespace zv::detail {

namespace {

// How long an adapter that has not reported its state yet is waited for.
constexpr double kBluetoothStateWait = 2.0;
constexpr double kBluetoothPoll = 0.1;
// A failed attempt leaves the manager's 4.0 s connect timer armed; the next
// attempt starts after it has fired, so its late report cannot hit the new
// attempt (or stop the new attempt's timer).
constexpr double kStaleTimerMargin = 4.5;
constexpr double kRetryPause = 0.5;
// How often the open link is checked for Bluetooth being switched off.
constexpr double kWatchInterval = 1.0;

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Passes every notification to the session, then to the resolver the
// application had installed.
class ReceiveTap final : public ZVDataResolver {
public:
  ReceiveTap(std::weak_ptr<PrinterSession> session,
             std::function<void(PrinterSession &, const ZVData &)> deliver,
             std::shared_ptr<ZVDataResolver> next)
      : session_(std::move(session)), deliver_(std::move(deliver)), next_(std::move(next)) {}
  void readDeviceInput(const ZVData &data) override {
    if (auto session = session_.lock()) deliver_(*session, data);
    if (next_) next_->readDeviceInput(data);
  }
  ZVResolvedBlock resolvedBlock() const override { return resolved_; }
  void setResolvedBlock(ZVResolvedBlock block) override { resolved_ = std::move(block); }

private:
  std::weak_ptr<PrinterSession> session_;
  std::function<void(PrinterSession &, const ZVData &)> deliver_;
  std::shared_ptr<ZVDataResolver> next_;
  ZVResolvedBlock resolved_;
};

std::string connectErrorReason(const ZVError &error) {
  if (error.code == ZVConnectErrorServiceTimeout)
    return "the printer's Bluetooth services were not found (restart the printer)";
  if (error.code == ZVConnectErrorNoPeripheral) return "the printer record has no peripheral";
  return "the printer did not accept the connection";
}

} // namespace

std::optional<JobFailure> bluetoothUnusable() {
  switch (ZVConnectInterface::shared().getBluetoothStatus()) {
  case ZVBluetoothStatusPoweredOn:
    return std::nullopt;
  case ZVBluetoothStatusPoweredOff:
    return JobFailure{ZVJobFailure::BluetoothOff, "Bluetooth is switched off"};
  case ZVBluetoothStatusUnknown:
    return JobFailure{ZVJobFailure::BluetoothOff, "Bluetooth has not reported its state"};
  default:
    return JobFailure{ZVJobFailure::BluetoothOff, "Bluetooth is not available"};
  }
}

PrinterSession::PrinterSession(ZVPrinterTarget target, ZVJobConnectOptions options,
                               ZVJobProgressHandler progress)
    : target_(std::move(target)), options_(options), progress_(std::move(progress)) {
  options_.attempts = std::max(1, options_.attempts);
}

PrinterSession::~PrinterSession() {
  if (stageTimer_) stageTimer_->invalidate();
  if (watchTimer_) watchTimer_->invalidate();
}

std::shared_ptr<ZVTimer> PrinterSession::after(double seconds,
                                               std::function<void(PrinterSession &)> action) {
  return ZVRunLoop::main().schedule(seconds, [weak = weak_from_this(), action = std::move(action)] {
    if (auto self = weak.lock()) action(*self);
  });
}

// One deadline per stage: a new stage's timer replaces the last one's.
void PrinterSession::armStage(double seconds, std::function<void(PrinterSession &)> action) {
  if (stageTimer_) stageTimer_->invalidate();
  stageTimer_ = after(seconds, std::move(action));
}

void PrinterSession::report(ZVJobPhase phase) {
  if (progress_) progress_(ZVJobProgress{phase, 0, 0, attempt_});
}

void PrinterSession::installListeners() {
  ZVConnectInterface &facade = ZVConnectInterface::shared();
  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  previousDelegate_ = facade.delegate();
  previousStatus_ = dispatcher.autoTarvoStateBlock();
  previousPrinted_ = dispatcher.printImageCompleteBlock();
  previousResolver_ = dispatcher.resolver();
  installed_ = true;

  facade.setDelegate(std::weak_ptr<ZVPrinterInterfaceDelegate>(shared_from_this()));
  const std::weak_ptr<PrinterSession> weak = weak_from_this();
  dispatcher.setAutoTarvoStateBlock([weak](int64_t status) {
    auto self = weak.lock();
    if (self && self->open_ && self->events_.status) self->events_.status(status);
  });
  dispatcher.setPrintImageCompleteBlock([weak](int64_t) {
    auto self = weak.lock();
    if (self && self->open_ && self->events_.printed) self->events_.printed();
  });
  dispatcher.setResolver(std::make_shared<ReceiveTap>(
      weak,
      [](PrinterSession &self, const ZVData &data) {
        if (self.open_ && self.events_.received) self.events_.received(data);
      },
      previousResolver_));
}

void PrinterSession::open(Opened opened) {
  opened_ = std::move(opened);
  installListeners();
  waitForBluetooth(0);
}

void PrinterSession::waitForBluetooth(double waited) {
  stage_ = Stage::WaitingForBluetooth;
  const int64_t status = ZVConnectInterface::shared().getBluetoothStatus();
  if (status == ZVBluetoothStatusUnknown && waited < kBluetoothStateWait) {
    armStage(kBluetoothPoll,
             [waited](PrinterSession &self) { self.waitForBluetooth(waited + kBluetoothPoll); });
    return;
  }
  if (auto failure = bluetoothUnusable()) return finishOpening(failure);
  chooseTarget();
}

bool PrinterSession::matches(const ZVPrinterMessage &printer) const {
  switch (target_.kind) {
  case ZVPrinterTarget::Kind::Identifier:
    return printer.identifier && lower(*printer.identifier) == lower(target_.text);
  case ZVPrinterTarget::Kind::Name:
    return printer.name && lower(*printer.name).find(lower(target_.text)) != std::string::npos;
  case ZVPrinterTarget::Kind::Record:
    return target_.record && printer.peripheral == target_.record->peripheral;
  case ZVPrinterTarget::Kind::Connected:
    return true;
  }
  return false;
}

void PrinterSession::chooseTarget() {
  ZVConnectInterface &facade = ZVConnectInterface::shared();
  const auto &connected = facade.deviceConnected();
  if (facade.isConnected() && connected && ZVPeripheralManager::share().isConnected() &&
      matches(*connected)) {
    // Already usable: the job borrows the link and leaves it open.
    printerName_ = connected->name.value_or("");
    return opened();
  }
  if (target_.kind == ZVPrinterTarget::Kind::Record) {
    if (!target_.record || !target_.record->peripheral)
      return finishOpening(
          JobFailure{ZVJobFailure::NotFound, "the printer record has no peripheral"});
    record_ = target_.record;
    return connectAttempt();
  }
  stage_ = Stage::Scanning;
  report(ZVJobPhase::Scanning);
  facade.scanBluetooth();
  armStage(options_.scanTimeout, [](PrinterSession &self) {
    ZVConnectInterface::shared().stopScanBluetooth();
    std::string what = "no printer";
    if (self.target_.kind == ZVPrinterTarget::Kind::Name)
      what = "no printer named \"" + self.target_.text + "\"";
    if (self.target_.kind == ZVPrinterTarget::Kind::Identifier)
      what = "no printer with identifier " + self.target_.text;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.0f", self.options_.scanTimeout);
    self.finishOpening(
        JobFailure{ZVJobFailure::NotFound, what + " found within " + seconds + " s"});
  });
}

void PrinterSession::didDiscoverBLEPrints(
    const std::vector<std::shared_ptr<ZVPrinterMessage>> &list) {
  if (stage_ != Stage::Scanning) return;
  for (const auto &printer : list) {
    if (!printer || !matches(*printer)) continue;
    ZVConnectInterface::shared().stopScanBluetooth();
    record_ = printer;
    return connectAttempt();
  }
}

void PrinterSession::connectAttempt() {
  stage_ = Stage::Connecting;
  ++attempt_;
  printerName_ = record_->name.value_or(record_->identifier.value_or("printer"));
  attemptStarted_ = ZVRunLoop::main().now();
  report(ZVJobPhase::Connecting);
  armStage(options_.attemptTimeout, [](PrinterSession &self) {
    self.attemptFailed("the printer did not finish connecting");
  });
  ZVConnectInterface::shared().connectPrinter(record_);
}

void PrinterSession::attemptFailed(const std::string &reason) {
  if (stage_ != Stage::Connecting) return;
  lastReason_ = reason;
  if (stageTimer_) stageTimer_->invalidate();
  // Leave nothing half open: the link's own time-out does not close a link
  // that opened but never became usable.
  if (record_->peripheral && record_->peripheral->state() != ZVBlePeripheralStateDisconnected) {
    if (const auto &central = ZVBluetoothManager::shareInstance().centralManager())
      central->cancelPeripheralConnection(record_->peripheral);
  }
  if (attempt_ >= options_.attempts) {
    return finishOpening(JobFailure{ZVJobFailure::ConnectFailed,
                                    "could not connect to " + printerName_ + " (" +
                                        std::to_string(attempt_) + " attempts): " + reason});
  }
  if (auto failure = bluetoothUnusable()) return finishOpening(failure);
  stage_ = Stage::BetweenAttempts;
  const double now = ZVRunLoop::main().now();
  const double wait = std::max(attemptStarted_ + kStaleTimerMargin - now, kRetryPause);
  armStage(wait, [](PrinterSession &self) {
    if (auto failure = bluetoothUnusable()) return self.finishOpening(failure);
    self.connectAttempt();
  });
}

void PrinterSession::didConnectSuccess() {
  if (stage_ != Stage::Connecting) return;
  if (!ZVConnectInterface::shared().isConnected()) return;
  if (stageTimer_) stageTimer_->invalidate();
  openedLink_ = true;
  opened();
}

void PrinterSession::didConnectFail(const ZVError &error) {
  attemptFailed(connectErrorReason(error));
}

void PrinterSession::opened() {
  stage_ = Stage::Open;
  open_ = true;
  watchLink();
  finishOpening(std::nullopt);
}

void PrinterSession::finishOpening(std::optional<JobFailure> failure) {
  if (failure) stage_ = Stage::Closed;
  if (auto opened = std::exchange(opened_, {})) opened(std::move(failure));
}

// The link's lower layer reports Bluetooth being switched off as a
// disconnection only while the facade says connected; the watch catches
// every other way the adapter can go.
void PrinterSession::watchLink() {
  watchTimer_ = after(kWatchInterval, [](PrinterSession &self) {
    if (!self.open_) return;
    if (auto failure = bluetoothUnusable()) {
      return self.lose(JobFailure{ZVJobFailure::LinkLost, "Bluetooth was switched off"});
    }
    if (!ZVPeripheralManager::share().isConnected())
      return self.lose(JobFailure{ZVJobFailure::LinkLost, "the link to the printer was lost"});
    self.watchLink();
  });
}

void PrinterSession::didDisconnect(bool orderly) {
  if (stage_ == Stage::Connecting) return attemptFailed("the link closed while connecting");
  if (!open_) return;
  if (bluetoothUnusable()) return lose({ZVJobFailure::LinkLost, "Bluetooth was switched off"});
  lose({ZVJobFailure::LinkLost,
        orderly ? "the printer closed the connection" : "the link to the printer was lost"});
}

void PrinterSession::lose(JobFailure failure) {
  if (!open_) return;
  open_ = false;
  stage_ = Stage::Closed;
  openedLink_ = false;
  if (events_.lost) events_.lost(std::move(failure));
}

void PrinterSession::close(bool force) {
  const bool wasOpen = open_;
  open_ = false;
  if (stage_ == Stage::Scanning) ZVConnectInterface::shared().stopScanBluetooth();
  stage_ = Stage::Closed;
  if (stageTimer_) stageTimer_->invalidate();
  if (watchTimer_) watchTimer_->invalidate();
  events_ = {};
  if (installed_) {
    installed_ = false;
    ZVConnectInterface &facade = ZVConnectInterface::shared();
    ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
    facade.setDelegate(previousDelegate_);
    dispatcher.setAutoTarvoStateBlock(std::move(previousStatus_));
    dispatcher.setPrintImageCompleteBlock(std::move(previousPrinted_));
    dispatcher.setResolver(std::move(previousResolver_));
  }
  const bool ours = openedLink_ && options_.disconnectWhenDone;
  if (wasOpen && (ours || force)) ZVConnectInterface::shared().disconnect();
}

} // namespace zv::detail
