#pragma once

// PNG and JPEG decoding and PNG encoding. Decoders check the size in the
// header against ZVImage's caps, and against what the file could hold at
// best (deflate's 1032:1, one bit per JPEG block), before allocating the
// pixels. PNG samples are taken as they are stored (16 bits scaled to 8, no
// gamma or colour profile applied). JPEGs cut short are refused even when
// they end with an EOI marker; arithmetic-coded JPEGs are refused.

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace zv::detail {

/// Straight RGBA pixels as a decoder delivers them.
struct DecodedPixels {
  uint32_t width = 0;
  uint32_t height = 0;
  ZVData rgba;
};

/// Why a decoder gave up, as one line; empty on success.
using DecodeError = std::string;

bool looksLikePNG(std::span<const uint8_t> bytes);
bool looksLikeJPEG(std::span<const uint8_t> bytes);

std::optional<DecodedPixels> decodePNG(std::span<const uint8_t> bytes, DecodeError &error);
std::optional<DecodedPixels> decodeJPEG(std::span<const uint8_t> bytes, DecodeError &error);

/// Encodes 8-bit straight RGBA rows as a PNG; empty on failure.
ZVData encodePNG(uint32_t width, uint32_t height, std::span<const uint8_t> rgba);

/// Whether a decoder may allocate width x height pixels (ZVImage's caps).
bool sizeWithinCaps(uint64_t width, uint64_t height);

} // namespace zv::detail
