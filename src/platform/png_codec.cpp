#include "platform/image_codec.h"

#include <zvprinter/ZVImage.h>

#include <png.h>

#include <cstring>

namespace zv::detail {

namespace {

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// png_image owns libpng's internal state; png_image_free is safe to call on
// an image that was never opened or has already finished.
struct PngImage {
  png_image image{};
  PngImage() { image.version = PNG_IMAGE_VERSION; }
  ~PngImage() { png_image_free(&image); }
  PngImage(const PngImage &) = delete;
  PngImage &operator=(const PngImage &) = delete;
};

std::string pngMessage(const png_image &image, const char *fallback) {
  const std::string message = image.message;
  return message.empty() ? fallback : "invalid PNG: " + message;
}

} // namespace

bool looksLikePNG(std::span<const uint8_t> bytes) {
  return bytes.size() >= sizeof kPngSignature &&
         std::memcmp(bytes.data(), kPngSignature, sizeof kPngSignature) == 0;
}

std::optional<DecodedPixels> decodePNG(std::span<const uint8_t> bytes, DecodeError &error) {
  PngImage png;
  if (!png_image_begin_read_from_memory(&png.image, bytes.data(), bytes.size())) {
    error = pngMessage(png.image, "invalid PNG header");
    return std::nullopt;
  }
  if (png.image.width == 0 || png.image.height == 0) {
    error = "PNG has no pixels";
    return std::nullopt;
  }
  if (!sizeWithinCaps(png.image.width, png.image.height)) {
    error = "PNG of " + std::to_string(png.image.width) + " x " + std::to_string(png.image.height) +
            " pixels exceeds the size limit";
    return std::nullopt;
  }
  png.image.format = PNG_FORMAT_RGBA;
  DecodedPixels out{png.image.width, png.image.height, {}};
  out.rgba.resize(PNG_IMAGE_SIZE(png.image));
  if (!png_image_finish_read(&png.image, nullptr, out.rgba.data(), 0, nullptr)) {
    error = pngMessage(png.image, "corrupt or truncated PNG");
    return std::nullopt;
  }
  return out;
}

ZVData encodePNG(uint32_t width, uint32_t height, std::span<const uint8_t> rgba) {
  if (width == 0 || height == 0 || rgba.size() != uint64_t{width} * height * 4) return {};
  PngImage png;
  png.image.width = width;
  png.image.height = height;
  png.image.format = PNG_FORMAT_RGBA;
  png_alloc_size_t size = 0;
  if (!png_image_write_to_memory(&png.image, nullptr, &size, 0, rgba.data(), 0, nullptr)) return {};
  ZVData out(size);
  if (!png_image_write_to_memory(&png.image, out.data(), &size, 0, rgba.data(), 0, nullptr))
    return {};
  out.resize(size);
  return out;
}

bool sizeWithinCaps(uint64_t width, uint64_t height) {
  return width > 0 && height > 0 && width <= ZVImage::kMaxSide && height <= ZVImage::kMaxSide &&
         width * height <= ZVImage::kMaxPixels;
}

} // namespace zv::detail
