#include <zvprinter/ZVCmdTSCGenerator.h>

#include <zvprinter/ZVEncode.h>

#include <string>

namespace {

std::string decimal(int64_t value) {
  return std::to_string(value);
}

// Unsigned arguments are printed through a signed conversion, as the printer
// protocol has always done.
std::string decimal(uint64_t value) {
  return std::to_string(static_cast<int64_t>(value));
}

// The fixed commands are plain ASCII, which GB 18030 always encodes.
ZVData command(const std::string &text) {
  return ZVCmdTSCGenerator::appendTSCDataWithCmd(text).value_or(ZVData{});
}

} // namespace

std::optional<ZVData> ZVCmdTSCGenerator::appendTSCDataWithCmd(const std::string &cmd) {
  return ZVEncode::encodeDataWithString(cmd);
}

ZVData ZVCmdTSCGenerator::selfTest() {
  return command("SELFTEST\r\n");
}

ZVData ZVCmdTSCGenerator::setLabelLearn() {
  return command("GAPDETECT\r\n");
}

ZVData ZVCmdTSCGenerator::setPrintAreaSizeWithWidth(int64_t width, int64_t height) {
  return command("SIZE " + decimal(width) + " mm," + decimal(height) + " mm\r\n");
}

ZVData ZVCmdTSCGenerator::setReferenceXPos(int64_t x, int64_t y) {
  return command("REFERENCE " + decimal(x) + "," + decimal(y) + "\r\n");
}

ZVData ZVCmdTSCGenerator::feedToNextLabel() {
  return command("FORMFEED\r\n");
}

ZVData ZVCmdTSCGenerator::setPrintSpeed(uint64_t speed) {
  return command("SPEED " + decimal(speed) + "\r\n");
}

ZVData ZVCmdTSCGenerator::setPrintDensity(int64_t density) {
  return command("DENSITY " + decimal(density) + "\r\n");
}

ZVData ZVCmdTSCGenerator::setPrintDirection(uint64_t direction, uint64_t mirror) {
  return command("DIRECTION " + decimal(direction) + "," + decimal(mirror) + "\r\n");
}

ZVData ZVCmdTSCGenerator::setCLS() {
  return command("CLS\r\n");
}

ZVData ZVCmdTSCGenerator::printWithSets(int64_t sets, int64_t copies) {
  return command("PRINT " + decimal(sets) + "," + decimal(copies) + "\r\n");
}

ZVData ZVCmdTSCGenerator::setPrinterStateAutomaticBackWithStatus(bool status) {
  const auto last = static_cast<uint8_t>(((static_cast<unsigned>(status) ^ 1U) << 1) | 1U);
  return {0x1B, 0x1B, 0x09, last};
}

ZVData ZVCmdTSCGenerator::getPrinterStatus() {
  return {0x1B, 0x21, 0x3F, 0x0D, 0x0A};
}
