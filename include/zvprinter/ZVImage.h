/// @file ZVImage.h
/// @brief The image type that every image operation takes and returns.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// A decoded image: straight (not premultiplied) RGBA, 8 bits per channel,
/// rows top first, stride 4 x width, plus a scale in pixels per point.
///
/// ZVImage is a value type: copies are deep, moves are cheap. An image always
/// has at least one pixel; factories return std::nullopt instead of making an
/// empty one.
///
/// Decoding refuses images of more than kMaxPixels pixels or with a side
/// longer than kMaxSide pixels, before allocating anything for the pixels.
class ZV_EXPORT ZVImage {
public:
  /// Largest pixel count accepted (100 million: 400 MB of RGBA).
  static constexpr uint64_t kMaxPixels = 100'000'000;
  /// Longest side accepted, in pixels.
  static constexpr uint32_t kMaxSide = 1'000'000;

  /// Makes an image from straight RGBA bytes (4 x width x height of them).
  /// Returns std::nullopt when a side is 0, the size exceeds the caps, the
  /// byte count does not match, or the scale is not a positive finite number.
  static std::optional<ZVImage> fromRGBA(uint32_t width, uint32_t height,
                                         std::span<const uint8_t> bytes, double scale = 1.0);
  /// As above, taking ownership of @p bytes instead of copying them.
  static std::optional<ZVImage> fromRGBA(uint32_t width, uint32_t height, ZVData &&bytes,
                                         double scale = 1.0);

  /// Decodes a PNG or JPEG file (recognised by content, not by name).
  /// On failure returns std::nullopt and, when @p error is given, stores a
  /// one-line reason in it ("not a PNG or JPEG file", "truncated PNG", ...).
  static std::optional<ZVImage> fromFile(const std::string &path, std::string *error = nullptr);

  /// Decodes PNG or JPEG bytes held in memory; same contract as fromFile.
  static std::optional<ZVImage> fromEncoded(std::span<const uint8_t> bytes,
                                            std::string *error = nullptr);

  /// Writes the image as an 8-bit RGBA PNG. Returns false (and a reason in
  /// @p error when given) if the file cannot be written.
  bool writePNG(const std::string &path, std::string *error = nullptr) const;

  /// Encodes the image as an 8-bit RGBA PNG in memory (empty on failure).
  ZVData encodePNG() const;

  uint32_t pixelWidth() const { return width_; }
  uint32_t pixelHeight() const { return height_; }
  /// Pixels per point; 1.0 unless the image was made with another scale.
  double scale() const { return scale_; }
  /// Width and height in points: pixel size divided by the scale.
  ZVSize size() const;
  /// The straight RGBA bytes, 4 x pixelWidth() x pixelHeight() of them.
  std::span<const uint8_t> rgba() const { return pixels_; }

private:
  ZVImage(uint32_t width, uint32_t height, ZVData pixels, double scale);

  uint32_t width_ = 0;
  uint32_t height_ = 0;
  double scale_ = 1.0;
  ZVData pixels_;
};
