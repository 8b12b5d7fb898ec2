#include "backends/sim/printer_engine.h"

#include <algorithm>
#include <string_view>

namespace zv::detail {

namespace {

constexpr size_t kMaxLines = 10000;
constexpr uint64_t kMaxFirmwareBytes = 16u << 20;
constexpr size_t kParsePiece = 4096;

ZVData textReply(std::string_view text) {
  return ZVData(text.begin(), text.end());
}

} // namespace

PrinterEngine::PrinterEngine(const ZVVirtualPrinterConfig &config)
    : paper_(config.paperCapacityBytes, config.headWidthDots, config.paperLengthRows),
      settings_(config.modelName, config.firmwareVersion, config.serialNumber) {}

void PrinterEngine::note(std::string line) {
  if (log_.size() < kMaxLines) log_.push_back(std::move(line));
}

void PrinterEngine::streamError(uint64_t offset, const std::string &message) {
  ++statistics_.streamErrors;
  inputDamaged_ = true;
  std::string line = "at byte " + std::to_string(offset) + ": " + message;
  if (errors_.size() < kMaxLines) errors_.push_back(line);
  note("error " + line);
}

uint8_t PrinterEngine::statusByte(const ZVVirtualPrinterFaults &faults) const {
  return static_cast<uint8_t>(0x80 | (jobOpen_ ? 0x01 : 0) | (faults.paperOut ? 0x04 : 0));
}

ZVData PrinterEngine::statusReply(const ZVVirtualPrinterFaults &faults) const {
  ZVData reply = textReply("tarvo_sta=");
  reply.push_back(statusByte(faults));
  return reply;
}

std::vector<ZVData> PrinterEngine::receive(std::span<const uint8_t> bytes,
                                           ZVVirtualPrinterFaults &faults) {
  printDataSeen_ = false;
  std::vector<ZVData> replies;
  // A few bytes of stream can expand to a large raster, so a long input is
  // parsed a piece at a time and each piece's rasters are printed and freed
  // before the next: memory follows the piece, not the whole input.
  std::vector<PrinterEvent> events;
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kParsePiece));
    bytes = bytes.subspan(piece.size());
    events.clear();
    parser_.feed(piece, events);
    for (auto &event : events)
      handle(event, faults, replies);
  }
  return replies;
}

void PrinterEngine::newLink() {
  if (parser_.pendingBytes() > 0) {
    note("new link: " + std::to_string(parser_.pendingBytes()) +
         " bytes of an unfinished command dropped");
  }
  parser_ = PrinterStreamParser{};
}

std::vector<ZVData> PrinterEngine::endOfInput(ZVVirtualPrinterFaults &faults) {
  std::vector<PrinterEvent> events;
  parser_.finish(events);
  std::vector<ZVData> replies;
  for (auto &event : events)
    handle(event, faults, replies);
  auto finished = finishJob(faults);
  replies.insert(replies.end(), finished.begin(), finished.end());
  return replies;
}

void PrinterEngine::startJob(const ZVVirtualPrinterFaults &faults, std::vector<ZVData> &replies) {
  if (jobOpen_) return;
  jobOpen_ = true;
  if (autoStatus_) replies.push_back(statusReply(faults));
}

std::vector<ZVData> PrinterEngine::finishJob(const ZVVirtualPrinterFaults &faults) {
  std::vector<ZVData> replies;
  if (!jobOpen_) return replies;
  jobOpen_ = false;
  if (jobPrinted_ && inputDamaged_) note("job damaged: not reported printed");
  if (jobPrinted_ && !inputDamaged_) {
    ZVData finished = textReply("dithering_finis");
    finished.push_back(0x00);
    replies.push_back(std::move(finished));
    ++statistics_.jobsFinished;
    note("job finished");
  }
  jobPrinted_ = false;
  inputDamaged_ = false;
  if (autoStatus_) replies.push_back(statusReply(faults));
  return replies;
}

void PrinterEngine::track(Paper::Append result, size_t rowsBefore) {
  statistics_.rowsPrinted = paper_.rowCount();
  if (paper_.rowCount() > rowsBefore) jobPrinted_ = true;
  if (result == Paper::Append::Clipped) note("rows wider than the head were clipped");
  if (result == Paper::Append::OutOfPaper) streamError(parser_.bytesSeen(), "paper roll used up");
}

void PrinterEngine::print(const RasterBand &band, ZVVirtualPrinterFaults &faults,
                          std::vector<ZVData> &replies) {
  printDataSeen_ = true;
  startJob(faults, replies);
  if (faults.paperOut) {
    note("out of paper: " + std::to_string(band.rows) + " rows not printed");
    return;
  }
  ++statistics_.printFrames;
  const size_t before = paper_.rowCount();
  track(paper_.appendRows(band.widthBytes, band.rows, band.bits, true), before);
}

void PrinterEngine::handle(PrinterEvent &event, ZVVirtualPrinterFaults &faults,
                           std::vector<ZVData> &replies) {
  if (auto *band = std::get_if<RasterBand>(&event)) {
    print(*band, faults, replies);
  } else if (auto *command = std::get_if<TsplCommand>(&event)) {
    handleTspl(*command, faults, replies);
  } else if (auto *bitmap = std::get_if<TsplBitmap>(&event)) {
    ++statistics_.bitmaps;
    if (!label_.draw(*bitmap)) note("BITMAP clipped at the label's edge");
  } else if (std::holds_alternative<StatusQuery>(event)) {
    replies.push_back(statusReply(faults));
    note("status query");
  } else if (auto *back = std::get_if<AutoStatusBack>(&event)) {
    autoStatus_ = back->enabled;
    note(std::string("automatic status ") + (back->enabled ? "on" : "off"));
  } else if (auto *device = std::get_if<DeviceCommand>(&event)) {
    const std::string answer = settings_.answer(*device);
    replies.push_back(textReply(answer));
    note(device->verb + " \"" + device->name + "\" -> " + answer.substr(0, answer.size() - 2));
  } else if (auto *frame = std::get_if<FirmwareFrame>(&event)) {
    firmwareFrame(*frame, faults, replies);
  } else if (auto *failure = std::get_if<StreamError>(&event)) {
    streamError(failure->offset, failure->message);
  }
}

void PrinterEngine::firmwareFrame(const FirmwareFrame &frame, ZVVirtualPrinterFaults &faults,
                                  std::vector<ZVData> &replies) {
  const uint64_t end = uint64_t{frame.offset} + frame.chunk.size();
  uint8_t result = 0;
  if (faults.firmwareSilences > 0) {
    --faults.firmwareSilences;
    note("firmware frame at " + std::to_string(frame.offset) + " left unanswered");
    return;
  }
  if (faults.firmwareRejections > 0) {
    --faults.firmwareRejections;
    result = 4;
  } else if (!frame.checksumMatches) {
    result = 1;
  } else if (end > kMaxFirmwareBytes) {
    result = 2;
  } else if (frame.offset > firmware_.size()) {
    result = 3;
  }
  if (result == 0) {
    if (firmware_.size() < end) firmware_.resize(end);
    std::copy(frame.chunk.begin(), frame.chunk.end(),
              firmware_.begin() + static_cast<std::ptrdiff_t>(frame.offset));
    ++statistics_.firmwareFramesAccepted;
  } else {
    ++statistics_.firmwareFramesRejected;
  }
  note("firmware frame at " + std::to_string(frame.offset) + ", " +
       std::to_string(frame.chunk.size()) + " bytes: result " + std::to_string(result));
  replies.push_back({0x1B, 0x1C, 0x26, static_cast<uint8_t>(frame.offset),
                     static_cast<uint8_t>(frame.offset >> 8),
                     static_cast<uint8_t>(frame.offset >> 16), result, 0x00});
}

} // namespace zv::detail
