// Requests with answers: status, device information, Wi-Fi.
#include <zvprinter/ZVCmdTSCGenerator.h>
#include <zvprinter/ZVCmdUniGenerator.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVPrinterQuery.h>

#include "job/job_run.h"
#include "job/reply_lines.h"

namespace zv::detail {

namespace {

class QueryRun final : public JobRun {
public:
  QueryRun(std::vector<ZVPrinterRequest> requests, ZVPrinterQueryOptions options,
           ZVJobProgressHandler progress, ZVJobCompletion completion,
           std::vector<std::string> &answers)
      : JobRun(options.printer, options.connection, std::move(progress), std::move(completion)),
        requests_(std::move(requests)), options_(std::move(options)), answers_(answers) {
    result_.bytesTotal = requests_.size();
  }

private:
  std::optional<JobFailure> invalidInput() const override {
    if (requests_.empty()) return JobFailure{ZVJobFailure::InvalidJob, "nothing to ask"};
    return std::nullopt;
  }

  void connected() override {
    PrinterSession::Events events;
    events.status = [this](int64_t status) {
      if (next_ < requests_.size() && requests_[next_].replyName.empty())
        answered(std::to_string(status));
    };
    events.received = [this](const ZVData &data) {
      lines_.feed(data);
      if (next_ >= requests_.size() || requests_[next_].replyName.empty()) return;
      if (auto value = lines_.take(requests_[next_].replyName)) answered(*value);
    };
    events.lost = [this](JobFailure failure) { linkLost(std::move(failure)); };
    session().setEvents(std::move(events));
    ask();
  }

  void ask() {
    if (next_ == requests_.size()) return succeed();
    report(ZVJobPhase::Sending, next_, requests_.size());
    const ZVPrinterRequest &request = requests_[next_];
    result_.nothingSent = false;
    timer_ = after(options_.answerTimeout, [this] {
      const std::string &name = requests_[next_].replyName;
      fail(ZVJobFailure::NoAnswer,
           "the printer did not answer " + (name.empty() ? std::string("the status query") : name) +
               " within " + std::to_string(int(options_.answerTimeout)) + " s");
    });
    const std::weak_ptr<JobRun> weak = weak_from_this();
    ZVDataDispatcher::shared().writeData(
        request.command, [](const ZVProgress &) {},
        [weak, this] {
          if (weak.lock() && !ended())
            fail(ZVJobFailure::WriteRefused, "the printer refused the command");
        });
  }

  void answered(const std::string &value) {
    if (timer_) timer_->invalidate();
    const std::string name = requests_[next_].replyName;
    answers_.push_back(value);
    ++next_;
    result_.bytesSent = next_;
    if (value == "ERROR")
      return fail(ZVJobFailure::CommandRefused, "the printer answered " + name + "=ERROR");
    ask();
  }

  void tidyUp() override {
    if (timer_) timer_->invalidate();
    ZVDataDispatcher::shared().clearBufferData();
  }

  std::vector<ZVPrinterRequest> requests_;
  ZVPrinterQueryOptions options_;
  std::vector<std::string> &answers_;
  ReplyLines lines_;
  size_t next_ = 0;
  std::shared_ptr<ZVTimer> timer_;
};

} // namespace

} // namespace zv::detail

ZVPrinterQuery::ZVPrinterQuery(std::vector<ZVPrinterRequest> requests,
                               ZVPrinterQueryOptions options)
    : requests_(std::move(requests)), options_(std::move(options)) {}

std::vector<ZVPrinterRequest> ZVPrinterQuery::status() {
  return {{ZVCmdTSCGenerator::getPrinterStatus(), ""}};
}

std::vector<ZVPrinterRequest> ZVPrinterQuery::info() {
  return {{ZVCmdUniGenerator::getPrinterModelName(), "printer_name"},
          {ZVCmdUniGenerator::getPrinterFirmwareVersion(), "printer_version"},
          {ZVCmdUniGenerator::getPrinterSerialNumber(), "serial_no"}};
}

std::vector<ZVPrinterRequest> ZVPrinterQuery::wifiShow() {
  return {{ZVCmdUniGenerator::getPrinterWifiInfo(), "auto_wifi"}};
}

std::vector<ZVPrinterRequest> ZVPrinterQuery::wifiSet(const std::optional<std::string> &ssid,
                                                      const std::optional<std::string> &password,
                                                      std::optional<int64_t> mode,
                                                      const std::optional<std::string> &ip,
                                                      std::optional<uint64_t> auth) {
  // Each of these is a whole setval command around its field.
  std::vector<ZVData> fields;
  if (mode) fields.push_back(ZVCmdUniGenerator::setPrinterWifiMode(*mode));
  if (ssid) fields.push_back(ZVCmdUniGenerator::setPrinterWifiSSID(*ssid));
  if (password) fields.push_back(ZVCmdUniGenerator::setPrinterWifiPassword(*password));
  if (ip) fields.push_back(ZVCmdUniGenerator::setPrinterWifiIP(*ip));
  if (auth) fields.push_back(ZVCmdUniGenerator::setPrinterWifiAuth(*auth));
  std::vector<ZVPrinterRequest> requests;
  for (const ZVData &field : fields) {
    // A field that cannot be encoded comes out empty: send nothing for it
    // rather than a setting the printer would misread.
    if (field.empty()) return {};
    requests.push_back({field, "auto_wifi"});
  }
  return requests;
}

std::vector<ZVPrinterRequest> ZVPrinterQuery::wifiRestart() {
  return {{ZVCmdUniGenerator::configureWifi(), "restart_wifi"}};
}

ZVJobResult ZVPrinterQuery::run() {
  answers_.clear();
  return zv::detail::runToCompletion([this](ZVJobCompletion completion) {
    zv::detail::startOnMainQueue(std::make_shared<zv::detail::QueryRun>(
        requests_, options_, progress_, std::move(completion), answers_));
  });
}
