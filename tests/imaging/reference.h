#pragma once

// Slow, literal transcriptions of the conversions, written independently of
// the library's kernels, for comparing whole rasters on random and real
// images.

#include <zvprinter/ZVImage.h>

#include <cstdint>
#include <random>
#include <vector>

namespace reference {

/// Premultiplied RGBA, (c x a + 127) / 255.
std::vector<uint8_t> premultiplied(const ZVImage &image);

int printGray(int r, int g, int b);
int histogramGray(int r, int g, int b);
int ditherGray(int r, int g, int b);

/// Otsu over gray bytes, following the written algorithm step by step.
uint32_t otsu(const std::vector<uint8_t> &gray, int32_t width, int32_t height);

/// Histogram-weighted gray of every pixel (graylevel256Datas).
std::vector<uint8_t> histogramGrayLevels(const ZVImage &image);

/// Threshold raster (1 = dot) for threshold @p limit.
std::vector<uint8_t> thresholdRaster(const ZVImage &image, uint64_t limit);

/// Error-diffusion raster (1 = dot) over a whole-image int32 work buffer.
std::vector<uint8_t> ditherRaster(const ZVImage &image);

/// Clustered-dot raster of inverted gray bytes (1 = dot).
std::vector<uint8_t> clusterRaster(const std::vector<uint8_t> &gray, uint32_t width,
                                   int32_t height);

/// A random image; about a quarter of its pixels are not opaque.
ZVImage randomImage(std::mt19937 &random, uint32_t width, uint32_t height);

} // namespace reference

namespace reference {

/// Neutral grays 0..255 across each row: the colours whose weighted sums are
/// exact integers, where the double formulas truncate one lower for some
/// levels. Odd rows are half transparent.
ZVImage grayRamp(uint32_t rows);

} // namespace reference
