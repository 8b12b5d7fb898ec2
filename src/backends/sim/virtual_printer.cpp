#include <zvprinter/ZVVirtualPrinter.h>

#include "backends/sim/virtual_printer_state.h"

ZVVirtualPrinter::ZVVirtualPrinter(ZVVirtualPrinterConfig config)
    : state_(std::make_unique<zv::detail::VirtualPrinterState>(std::move(config))) {}

ZVVirtualPrinter::~ZVVirtualPrinter() {
  // Timers must not call into a printer that is gone.
  if (state_->finishTimer) state_->finishTimer->invalidate();
  if (state_->creditTimer) state_->creditTimer->invalidate();
}

const ZVVirtualPrinterConfig &ZVVirtualPrinter::config() const {
  return state_->config;
}

ZVVirtualPrinterFaults &ZVVirtualPrinter::faults() {
  return state_->faults;
}

void ZVVirtualPrinter::setAdvertisedName(std::optional<std::string> name) {
  state_->config.advertisedName = std::move(name);
}

void ZVVirtualPrinter::setRSSI(int64_t rssi) {
  state_->config.rssi = rssi;
}

const std::string &ZVVirtualPrinter::identifier() const {
  return state_->identifier;
}

std::vector<ZVData> ZVVirtualPrinter::receive(std::span<const uint8_t> bytes) {
  state_->engine.statistics().bytesReceived += bytes.size();
  return state_->engine.receive(bytes, state_->faults);
}

std::vector<ZVData> ZVVirtualPrinter::endOfInput() {
  return state_->engine.endOfInput(state_->faults);
}

void ZVVirtualPrinter::requestDisconnect(uint8_t reason) {
  const std::string prefix = "Disconnect_B";
  ZVData request(prefix.begin(), prefix.end());
  request.push_back(reason);
  state_->engine.note("asking the host to disconnect");
  state_->sendReplies({request});
}

std::optional<ZVImage> ZVVirtualPrinter::paperImage() const {
  return state_->engine.paper().image();
}

bool ZVVirtualPrinter::writePaperPNG(const std::string &path, std::string *error) const {
  const auto image = paperImage();
  if (!image) {
    if (error) {
      *error = state_->engine.paper().rowCount() == 0 ? "nothing was printed"
                                                      : "the paper is too large for a PNG";
    }
    return false;
  }
  return image->writePNG(path, error);
}

std::vector<ZVData> ZVVirtualPrinter::paperRows() const {
  const auto &paper = state_->engine.paper();
  std::vector<ZVData> rows;
  rows.reserve(paper.rowCount());
  for (size_t i = 0; i < paper.rowCount(); ++i) {
    const auto row = paper.row(i);
    rows.emplace_back(row.begin(), row.end());
  }
  return rows;
}

uint32_t ZVVirtualPrinter::paperWidthDots() const {
  return state_->engine.paper().widthDots();
}

const ZVData &ZVVirtualPrinter::firmwareImage() const {
  return state_->engine.firmware();
}

std::string ZVVirtualPrinter::wifiSettings() const {
  return state_->engine.settings().wifi();
}

ZVVirtualPrinterStatistics ZVVirtualPrinter::statistics() const {
  return state_->engine.statistics();
}

std::vector<std::string> ZVVirtualPrinter::streamErrors() const {
  return state_->engine.errors();
}

std::vector<std::string> ZVVirtualPrinter::log() const {
  return state_->engine.log();
}

bool ZVVirtualPrinter::isConnected() const {
  return !state_->link.expired();
}
