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

/// Where a decoder puts the pixels of the image it decodes, row by row.
///
/// Threading: both calls come from the decoding thread, begin() once before
/// any rowsDone().
class PixelReceiver {
public:
  virtual ~PixelReceiver() = default;
  /// The header is checked: returns room for @p width x @p height straight
  /// RGBA pixels (stride 4 x width) that the decoder fills. @p opaque says
  /// that every pixel will have alpha 255 (no alpha channel, no tRNS).
  /// Returns nullptr, and the decoder gives up, when there is no memory.
  virtual uint8_t *begin(uint32_t width, uint32_t height, bool opaque) = 0;
  /// Rows [0, @p rows) are final. Called with growing counts, the last time
  /// with the height once every row is decoded.
  virtual void rowsDone(uint32_t rows) = 0;
};

/// Decodes @p bytes (a PNG or JPEG, recognised by content) into @p receiver.
/// Returns false with a one-line reason in @p error when the file is refused
/// or turns out damaged, possibly after begin() and some rowsDone() calls:
/// the rows delivered before the failure must then be discarded.
bool decodeInto(std::span<const uint8_t> bytes, PixelReceiver &receiver, DecodeError &error);

bool decodePNG(std::span<const uint8_t> bytes, PixelReceiver &receiver, DecodeError &error);
bool decodeJPEG(std::span<const uint8_t> bytes, PixelReceiver &receiver, DecodeError &error);

/// The whole image in one buffer, or std::nullopt with a reason in @p error.
std::optional<DecodedPixels> decodeWhole(std::span<const uint8_t> bytes, DecodeError &error);

/// Encodes 8-bit straight RGBA rows as a PNG; empty on failure.
ZVData encodePNG(uint32_t width, uint32_t height, std::span<const uint8_t> rgba);

/// Whether a decoder may allocate width x height pixels (ZVImage's caps).
bool sizeWithinCaps(uint64_t width, uint64_t height);

} // namespace zv::detail
