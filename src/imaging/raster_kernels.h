#pragma once

// The pixel kernels behind the three print modes, working on a drawn canvas
// and returning the packed 1-bit raster (1 = dot, not yet inverted):
// ((width + 7) / 8) bytes per row, leftmost pixel in the most significant
// bit, rows top first. The public conversions add inversion and print-data
// assembly around them.
//
// Each kernel makes one pass over the canvas and computes its gray levels on
// the fly instead of filling a gray buffer first; the bits are the same as
// those of the gray-buffer formulation (tests check them against a literal
// transcription).

#include "platform/canvas.h"

#include <array>
#include <cstdint>
#include <vector>

namespace zv::detail {

struct Raster {
  int32_t bytesPerRow = 0;
  int32_t height = 0;
  std::vector<uint8_t> bytes; // bytesPerRow x height, zero-filled before packing
};

/// A zeroed raster for a width x height image.
Raster makeRaster(uint32_t width, uint32_t height);

using GrayHistogram = std::array<uint32_t, 256>;

/// Histogram of the canvas's gray levels under the histogram weighting
/// (alpha ignored), i.e. of graylevel256Datas.
GrayHistogram histogramWeightedHistogram(const Canvas &canvas);

/// The Otsu search over a histogram of @p pixelCount values.
uint32_t otsuThreshold(const GrayHistogram &histogram, uint32_t pixelCount);

/// Threshold mode: a pixel is a dot when its alpha is 255 and its print gray
/// is at most @p threshold (compared as unsigned 64-bit values).
Raster thresholdRaster(const Canvas &canvas, uint64_t threshold);

/// Error-diffusion mode, trailing pixels of rows whose width is not a
/// multiple of 8 dropped.
Raster ditherRaster(const Canvas &canvas);

/// Clustered-dot mode: ZVBayerCluster over the reversed print gray.
Raster clusterRaster(const Canvas &canvas);

} // namespace zv::detail
