// The BITMAP command lives apart from the text commands: it is the only one
// that needs the image pipeline.
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVCmdTSCGenerator.h>

#include <string>

namespace {

// Payload plus raster size above which no command is produced. The sum is
// the printer's historical test and is kept in this form.
constexpr uint64_t kBitmapLimit = 200000;

} // namespace

std::optional<ZVData> ZVCmdTSCGenerator::addBitmapWithXPos(int64_t x, int64_t yPos, uint64_t mode,
                                                           const ZVImage &image,
                                                           int64_t /*bitmapMode*/,
                                                           int64_t compress) {
  const uint64_t height = image.pixelHeight();
  const uint64_t widthBytes = (uint64_t{image.pixelWidth()} + 7) / 8;
  const ZVData payload = ZVBitmapManager::generateGenralDataWithImage(
                             image, false, static_cast<int64_t>(mode), compress, false)
                             .value_or(ZVData{});
  if (payload.size() + height * widthBytes > kBitmapLimit) return std::nullopt;

  const std::string header = "BITMAP " + std::to_string(x) + "," + std::to_string(yPos) + "," +
                             std::to_string(widthBytes) + "," + std::to_string(height) + "," +
                             std::to_string(static_cast<int64_t>(mode)) + ",";
  auto command = appendTSCDataWithCmd(header);
  if (!command) return std::nullopt;
  if (compress == 48) {
    const auto length = static_cast<uint32_t>(payload.size());
    for (int shift = 0; shift < 32; shift += 8)
      command->push_back(static_cast<uint8_t>(length >> shift));
  }
  command->insert(command->end(), payload.begin(), payload.end());
  return command;
}
