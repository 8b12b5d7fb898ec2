#pragma once

// The pixel kernels behind the three print modes, working on premultiplied
// pixels (a drawn canvas, or an opaque image as it is) and returning the packed 1-bit raster (1 =
// dot, not yet inverted):
// ((width + 7) / 8) bytes per row, leftmost pixel in the most significant
// bit, rows top first. The public conversions add inversion and print-data
// assembly around them.
//
// Each kernel makes one pass over the pixels and computes its gray levels on
// the fly instead of filling a gray buffer first; the bits are the same as
// those of the gray-buffer formulation (tests check them against a literal
// transcription).

#include "platform/canvas.h"
#include "platform/row_gate.h"

#include <array>
#include <cstdint>
#include <vector>

namespace zv::detail {

/// Borrowed premultiplied RGBA pixels: a canvas, or an opaque image (for
/// which premultiplying changes nothing, so it serves as its own canvas).
///
/// With a gate, the rows are still being decoded on another thread: a kernel
/// calls awaitRows() before it reads a row, and so starts converting the top
/// of the image while the rest is decoded.
struct Pixels {
  const uint8_t *data = nullptr;
  uint32_t width = 0;
  uint32_t height = 0;
  const RowGate *gate = nullptr;

  Pixels(const uint8_t *bytes, uint32_t w, uint32_t h, const RowGate *rowGate = nullptr)
      : data(bytes), width(w), height(h), gate(rowGate) {}
  Pixels(const Canvas &canvas) // implicit: a canvas is such pixels
      : Pixels(canvas.pixels.data(), canvas.width, canvas.height) {}

  const uint8_t *row(uint32_t y) const { return data + size_t{y} * width * 4; }
  /// Blocks until rows [0, @p end) (at most the height) may be read.
  void awaitRows(uint32_t end) const {
    if (gate != nullptr) gate->await(end < height ? end : height);
  }
};

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
GrayHistogram histogramWeightedHistogram(const Pixels &canvas);

/// The Otsu search over a histogram of @p pixelCount values.
uint32_t otsuThreshold(const GrayHistogram &histogram, uint32_t pixelCount);

/// Threshold mode: a pixel is a dot when its alpha is 255 and its print gray
/// is at most @p threshold (compared as unsigned 64-bit values).
Raster thresholdRaster(const Pixels &canvas, uint64_t threshold);

/// Error-diffusion mode, trailing pixels of rows whose width is not a
/// multiple of 8 dropped.
Raster ditherRaster(const Pixels &canvas);

/// Clustered-dot mode: ZVBayerCluster over the reversed print gray.
Raster clusterRaster(const Pixels &canvas);

} // namespace zv::detail
