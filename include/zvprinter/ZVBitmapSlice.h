/// @file ZVBitmapSlice.h
/// @brief One numbered print-data frame.
#pragma once

#include <zvprinter/ZVTypes.h>

#include <cstdint>

/// One print-data frame cut from a raster: 12-byte header plus LZO1X rows.
struct ZVBitmapSlice {
  uint16_t serial = 0; ///< index of the frame, 0 for the first
  ZVData data;         ///< the whole frame
};
