#pragma once

// The virtual printer's input side: a byte stream, fed in pieces of any size,
// cut into printer commands. No transport inside: the caller feeds bytes and
// acts on the events.

#include "backends/sim/printer_events.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zv::detail {

/// Recognises, anywhere in the stream:
/// - print-data frames: 1D 76 30 30, row width (2 bytes), rows (2), stream
///   length (4), LZO1X stream;
/// - TSPL lines ending in LF (CR optional), and BITMAP x,y,width,height,mode,
///   followed by width x height raw bytes or by a 4-byte length and an LZO1X
///   stream of that many bytes (told apart by whether the stream decompresses
///   to exactly width x height bytes);
/// - the status query ESC ! ? CR LF and the status-back switch ESC ESC HT n;
/// - ESC FS & text commands and firmware frames.
/// Bytes that fit none of these are skipped and reported as one StreamError
/// per run; a malformed command is reported and the parser resynchronises on
/// the next byte after it, as a printer does. Header fields never size an
/// allocation beyond kMaxRasterBytes: larger frames are reported and skipped.
class PrinterStreamParser {
public:
  /// Consumes @p bytes, appending the events they complete to @p events.
  void feed(std::span<const uint8_t> bytes, std::vector<PrinterEvent> &events);
  /// End of input: resolves or reports whatever is still incomplete.
  void finish(std::vector<PrinterEvent> &events);
  /// Bytes fed so far.
  uint64_t bytesSeen() const { return base_ + buffer_.size(); }
  /// Bytes held for a command not yet complete.
  uint64_t pendingBytes() const { return buffer_.size() - pos_; }

private:
  enum class Outcome { Consumed, NeedMore, Garbage };
  struct Step {
    Outcome outcome;
    size_t consumed = 0;
  };

  void process(bool atEnd, std::vector<PrinterEvent> &events);
  Step parseOne(std::span<const uint8_t> in, bool atEnd, std::vector<PrinterEvent> &out);
  Step parseFrame(std::span<const uint8_t> in, bool atEnd, std::vector<PrinterEvent> &out);
  Step parseEscape(std::span<const uint8_t> in, bool atEnd, std::vector<PrinterEvent> &out);
  Step parseDeviceCommand(std::span<const uint8_t> in, bool atEnd, std::vector<PrinterEvent> &out);
  Step parseTspl(std::span<const uint8_t> in, bool atEnd, std::vector<PrinterEvent> &out);
  Step parseBitmap(std::span<const uint8_t> in, bool atEnd, std::vector<PrinterEvent> &out);
  Step truncated(std::span<const uint8_t> in, bool atEnd, const char *what,
                 std::vector<PrinterEvent> &out);
  void error(std::vector<PrinterEvent> &out, std::string message) const;
  void flushGarbage(std::vector<PrinterEvent> &events);

  std::vector<uint8_t> buffer_; // unparsed bytes start at pos_
  size_t pos_ = 0;
  uint64_t base_ = 0;                  // stream offset of buffer_[0]
  uint64_t skip_ = 0;                  // bytes of an oversized frame still to discard
  uint64_t rawPayloadAt_ = UINT64_MAX; // a BITMAP payload known not to be LZO
  uint64_t garbageStart_ = 0;
  uint64_t garbageCount_ = 0;
};

} // namespace zv::detail
