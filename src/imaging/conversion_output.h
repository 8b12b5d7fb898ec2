#pragma once

// The frame of every print conversion: draw the image into a canvas, run a
// raster kernel, then optionally invert the raster (0 = dot for the printer)
// and assemble print data or slices.

#include <zvprinter/ZVBitmapSlice.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include "imaging/raster_kernels.h"

#include <functional>
#include <optional>
#include <vector>

namespace zv::detail {

using RasterKernel = std::function<Raster(const Pixels &)>;

/// @p kernel over the image drawn at its own pixel size; std::nullopt when
/// the canvas is refused. An opaque image needs no canvas: drawing it would
/// copy its bytes unchanged.
std::optional<Raster> convertedRaster(const ZVImage &image, const RasterKernel &kernel);

/// Print data of @p raster, complemented first when @p invert; std::nullopt
/// when there is no raster.
std::optional<ZVData> printData(std::optional<Raster> raster, bool invert, int64_t compress,
                                bool package);

/// Numbered compressed frames of @p raster as it is; std::nullopt when there
/// is no raster.
std::optional<std::vector<ZVBitmapSlice>> printSlices(const std::optional<Raster> &raster);

} // namespace zv::detail
