// Firmware framing is offered here too, next to the other device commands.
#include <zvprinter/ZVCmdUniGenerator.h>
#include <zvprinter/ZVPackProtocol.h>

std::vector<ZVFirmwareSlice> ZVCmdUniGenerator::generateFirmwarePacksWithData(const ZVData &data) {
  return ZVPackProtocol::generateFirmwarePacksWithData(data);
}
