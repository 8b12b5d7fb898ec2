#pragma once

// The virtual printer without its radio: bytes in, paper, firmware image and
// reply bytes out. No transport and no timers; the caller decides when a job
// has gone idle (finishJob).

#include "backends/sim/device_settings.h"
#include "backends/sim/label_canvas.h"
#include "backends/sim/paper.h"
#include "backends/sim/printer_stream_parser.h"

#include <zvprinter/ZVVirtualPrinter.h>

#include <span>
#include <string>
#include <vector>

namespace zv::detail {

class PrinterEngine {
public:
  explicit PrinterEngine(const ZVVirtualPrinterConfig &config);

  /// Feeds a piece of the stream; returns the replies it caused, in order.
  std::vector<ZVData> receive(std::span<const uint8_t> bytes, ZVVirtualPrinterFaults &faults);
  /// End of input: flushes the parser and finishes the job.
  std::vector<ZVData> endOfInput(ZVVirtualPrinterFaults &faults);
  /// The job has ended: "dithering_finis" if it printed anything and no
  /// damaged input (a stream error) arrived since the previous job ended.
  std::vector<ZVData> finishJob(const ZVVirtualPrinterFaults &faults);
  /// Print data arrived in the last receive() (the caller restarts its
  /// idle timer).
  bool printDataInLastReceive() const { return printDataSeen_; }
  bool jobOpen() const { return jobOpen_; }

  /// A new link starts a fresh byte stream: whatever the parser held of a
  /// half-received frame from the previous link is dropped (and logged).
  void newLink();

  uint8_t statusByte(const ZVVirtualPrinterFaults &faults) const;
  void note(std::string line);

  const Paper &paper() const { return paper_; }
  const ZVData &firmware() const { return firmware_; }
  const DeviceSettings &settings() const { return settings_; }
  ZVVirtualPrinterStatistics &statistics() { return statistics_; }
  const ZVVirtualPrinterStatistics &statistics() const { return statistics_; }
  const std::vector<std::string> &errors() const { return errors_; }
  const std::vector<std::string> &log() const { return log_; }

private:
  void handle(PrinterEvent &event, ZVVirtualPrinterFaults &faults, std::vector<ZVData> &replies);
  void handleTspl(const TsplCommand &command, ZVVirtualPrinterFaults &faults,
                  std::vector<ZVData> &replies);
  void print(const RasterBand &band, ZVVirtualPrinterFaults &faults, std::vector<ZVData> &replies);
  void startJob(const ZVVirtualPrinterFaults &faults, std::vector<ZVData> &replies);
  void firmwareFrame(const FirmwareFrame &frame, ZVVirtualPrinterFaults &faults,
                     std::vector<ZVData> &replies);
  void streamError(uint64_t offset, const std::string &message);
  ZVData statusReply(const ZVVirtualPrinterFaults &faults) const;
  void track(Paper::Append result, size_t rowsBefore);

  PrinterStreamParser parser_;
  Paper paper_;
  LabelCanvas label_;
  DeviceSettings settings_;
  ZVData firmware_;
  ZVVirtualPrinterStatistics statistics_;
  std::vector<std::string> errors_;
  std::vector<std::string> log_;
  bool autoStatus_ = false;
  bool jobOpen_ = false;
  bool jobPrinted_ = false;
  bool printDataSeen_ = false;
  bool inputDamaged_ = false; // a stream error since the last job ended
};

} // namespace zv::detail
