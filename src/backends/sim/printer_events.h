#pragma once

// What the virtual printer's stream parser recognises in the bytes a host
// sends: one event per complete command, in stream order.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zv::detail {

/// A print-data frame (1D 76 30 30), decompressed: rows x widthBytes bytes,
/// leftmost pixel in the most significant bit, bit value 0 = dot.
struct RasterBand {
  uint32_t widthBytes = 0;
  uint32_t rows = 0;
  ZVData bits;
};

/// A TSPL text command other than BITMAP: "SIZE 40 mm,30 mm" gives keyword
/// "SIZE" and arguments {"40 mm", "30 mm"}.
struct TsplCommand {
  std::string keyword;
  std::vector<std::string> arguments;
};

/// A TSPL BITMAP command with its payload, decompressed when it was sent as a
/// 4-byte length and an LZO1X stream. Bit value 0 = dot.
struct TsplBitmap {
  int64_t x = 0;
  int64_t y = 0;
  uint32_t widthBytes = 0;
  uint32_t rows = 0;
  int64_t mode = 0;
  bool compressed = false;
  ZVData bits;
};

/// ESC ! ? CR LF: the host asks for the status.
struct StatusQuery {};

/// ESC ESC HT n: n = 1 switches automatic status reports on, 3 off.
struct AutoStatusBack {
  bool enabled = false;
};

/// ESC FS & V1 <verb> "<name>" ["<value>"] CR LF, except firmware frames.
struct DeviceCommand {
  std::string verb; ///< getval, setval, do
  std::string name;
  std::optional<std::string> value; ///< the raw value bytes of setval
};

/// A firmware frame: ESC FS & V1 do "ota" CR LF, offset, length, checksum,
/// then the chunk.
struct FirmwareFrame {
  uint32_t offset = 0;
  uint32_t checksum = 0;
  bool checksumMatches = false;
  ZVData chunk;
};

/// Bytes the printer could not make sense of, and why.
struct StreamError {
  uint64_t offset = 0; ///< position in the stream where the problem starts
  std::string message;
};

using PrinterEvent = std::variant<RasterBand, TsplCommand, TsplBitmap, StatusQuery, AutoStatusBack,
                                  DeviceCommand, FirmwareFrame, StreamError>;

} // namespace zv::detail
