#include "framing/checksum.h"
#include "framing/little_endian.h"

#include <zvprinter/ZVPackProtocol.h>

#include <algorithm>
#include <array>
#include <span>

namespace {

// ESC FS, then & V1 do "ota" CR LF.
constexpr std::array<uint8_t, 17> kFirmwareHeader{0x1B, 0x1C, 0x26, 0x20, 0x56, 0x31,
                                                  0x20, 0x64, 0x6F, 0x20, 0x22, 0x6F,
                                                  0x74, 0x61, 0x22, 0x0D, 0x0A};
constexpr size_t kFieldsEnd = kFirmwareHeader.size() + 12;

ZVData firmwareFrame(uint32_t offset, std::span<const uint8_t> chunk) {
  ZVData frame(kFieldsEnd + chunk.size());
  std::copy(kFirmwareHeader.begin(), kFirmwareHeader.end(), frame.begin());
  uint8_t *fields = frame.data() + kFirmwareHeader.size();
  zv::detail::storeLE32(fields, offset);
  zv::detail::storeLE32(fields + 4, static_cast<uint32_t>(chunk.size()));
  zv::detail::storeLE32(fields + 8, zv::detail::firmwareChecksum(chunk));
  std::copy(chunk.begin(), chunk.end(), frame.begin() + kFieldsEnd);
  return frame;
}

} // namespace

std::vector<ZVFirmwareSlice> ZVPackProtocol::generateFirmwarePacksWithData(const ZVData &data) {
  std::vector<ZVFirmwareSlice> slices;
  slices.reserve((data.size() + kFirmwareChunkSize - 1) / kFirmwareChunkSize);
  const std::span<const uint8_t> image(data);
  for (size_t position = 0; position < image.size(); position += kFirmwareChunkSize) {
    const auto chunk =
        image.subspan(position, std::min<size_t>(kFirmwareChunkSize, image.size() - position));
    // Offsets are 32-bit on the wire; firmware images are far smaller.
    const auto offset = static_cast<uint32_t>(position);
    slices.push_back({offset, firmwareFrame(offset, chunk)});
  }
  return slices;
}

ZVData ZVPackProtocol::generateCompressDataLength(int64_t length) {
  ZVData record(4);
  zv::detail::storeLE32(record.data(), static_cast<uint32_t>(length));
  return record;
}
