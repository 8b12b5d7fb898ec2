/// @file ZVCmdTSCGenerator.h
/// @brief TSPL label commands as ready byte buffers.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <string>

/// Builds the commands of TSPL, the label-printer command language, one
/// buffer per command. The caller concatenates the buffers of one label job
/// in the order TSPL requires (SIZE, GAP, ..., CLS, drawing commands, PRINT).
///
/// Text commands are encoded in GB 18030 (ZVEncode) and end in CR LF.
/// Numbers are written in plain signed decimal; unsigned arguments are
/// printed as signed 64-bit values, so 2^63 and above come out negative.
///
/// Stateless; every operation may be called from any thread.
class ZV_EXPORT ZVCmdTSCGenerator {
public:
  ZVCmdTSCGenerator() = delete;

  /// @p cmd encoded in GB 18030, or std::nullopt if it can't be encoded.
  static std::optional<ZVData> appendTSCDataWithCmd(const std::string &cmd);

  /// "SELFTEST\r\n"
  static ZVData selfTest();
  /// "GAPDETECT\r\n"
  static ZVData setLabelLearn();
  /// "SIZE <width> mm,<height> mm\r\n", in millimetres.
  static ZVData setPrintAreaSizeWithWidth(int64_t width, int64_t height);
  /// "REFERENCE <x>,<y>\r\n", in dots.
  static ZVData setReferenceXPos(int64_t x, int64_t y);
  /// "FORMFEED\r\n"
  static ZVData feedToNextLabel();
  /// "SPEED <speed>\r\n"
  static ZVData setPrintSpeed(uint64_t speed);
  /// "DENSITY <density>\r\n"
  static ZVData setPrintDensity(int64_t density);
  /// "DIRECTION <direction>,<mirror>\r\n"
  static ZVData setPrintDirection(uint64_t direction, uint64_t mirror);
  /// "CLS\r\n"
  static ZVData setCLS();
  /// "PRINT <sets>,<copies>\r\n"
  static ZVData printWithSets(int64_t sets, int64_t copies);
  /// The raw bytes 1B 1B 09 then 01 (automatic status-back on) or 03 (off).
  static ZVData setPrinterStateAutomaticBackWithStatus(bool status);
  /// The raw status query 1B 21 3F 0D 0A.
  static ZVData getPrinterStatus();

  /// A BITMAP command with its payload, placed at (@p x, @p y) dots.
  ///
  /// The payload is ZVBitmapManager::generateGenralDataWithImage(image,
  /// false, mode, compress, false); @p mode is both the processing mode (0
  /// threshold, 1 error diffusion, 2 clustered dot; others give an empty
  /// payload) and the header's mode field. The header is
  /// "BITMAP x,y,<bytes per row>,<rows>,mode," taken from the image's pixel
  /// size. With @p compress 48 the payload is preceded by its length as a
  /// 4-byte little-endian number; otherwise it follows the header directly.
  /// Nothing follows the payload. An image that can't be drawn gives an
  /// empty payload.
  ///
  /// @p bitmapMode is accepted for compatibility and not used.
  /// @return std::nullopt when payload length + rows x bytes per row
  ///         exceeds 200000.
  static std::optional<ZVData> addBitmapWithXPos(int64_t x, int64_t yPos, uint64_t mode,
                                                 const ZVImage &image, int64_t bitmapMode,
                                                 int64_t compress);
};
