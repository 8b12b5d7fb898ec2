/// @file ZVFirmwareSlice.h
/// @brief One firmware frame and the position of its chunk.
#pragma once

#include <zvprinter/ZVTypes.h>

#include <cstdint>

/// One frame of a firmware image as sent to the printer.
struct ZVFirmwareSlice {
  uint32_t offset = 0; ///< position of the chunk's first byte in the image
  ZVData data;         ///< the whole frame: header, offset, length, checksum, chunk
};
