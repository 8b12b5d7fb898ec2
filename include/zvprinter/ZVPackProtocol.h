/// @file ZVPackProtocol.h
/// @brief Firmware frames and the length record.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <vector>

/// Builds the bulk frames the printer's boot loader accepts. Stateless; every
/// operation may run on any thread.
///
/// A firmware frame is the 17-byte header ESC FS `& V1 do "ota"` CR LF, then
/// the chunk's offset in the image, the chunk length n (1 to 2016) and the
/// chunk's checksum (table CRC-32 with the register starting at 0, result
/// complemented), each 4 bytes little-endian, then the n chunk bytes.
class ZV_EXPORT ZVPackProtocol {
public:
  ZVPackProtocol() = delete;

  /// Largest number of firmware bytes in one frame.
  static constexpr uint32_t kFirmwareChunkSize = 2016;

  /// Cuts @p data into frames of kFirmwareChunkSize bytes (the last one
  /// shorter), in image order; an empty image gives an empty array.
  static std::vector<ZVFirmwareSlice> generateFirmwarePacksWithData(const ZVData &data);

  /// The low 32 bits of @p length as 4 little-endian bytes.
  static ZVData generateCompressDataLength(int64_t length);
};
