#pragma once

// The last step of every print conversion: optional inversion of the raster
// (0 = dot for the printer) and print-data assembly or slicing.

#include <zvprinter/ZVBitmapSlice.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include "imaging/raster_kernels.h"

#include <optional>
#include <vector>

namespace zv::detail {

/// The image drawn at its own pixel size; std::nullopt when the canvas is
/// refused.
std::optional<Canvas> conversionCanvas(const ZVImage &image);

/// Print data of @p raster, complemented first when @p invert.
ZVData printData(Raster &raster, bool invert, int64_t compress, bool package);

/// Numbered compressed frames of @p raster as it is.
std::vector<ZVBitmapSlice> printSlices(const Raster &raster);

} // namespace zv::detail
