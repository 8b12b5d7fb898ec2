#include <zvprinter/ZVImage.h>

#include "platform/image_codec.h"

#include <cmath>
#include <fstream>

namespace {

// A PNG or JPEG of the largest accepted size is far smaller than this; the
// cap stops a huge non-image file from being read into memory whole.
constexpr std::streamoff kMaxFileBytes = std::streamoff{1} << 30;

void report(std::string *error, std::string message) {
  if (error) *error = std::move(message);
}

} // namespace

ZVImage::ZVImage(uint32_t width, uint32_t height, ZVData pixels, double scale)
    : width_(width), height_(height), scale_(scale), pixels_(std::move(pixels)) {}

std::optional<ZVImage> ZVImage::fromRGBA(uint32_t width, uint32_t height,
                                         std::span<const uint8_t> bytes, double scale) {
  if (!zv::detail::sizeWithinCaps(width, height)) return std::nullopt;
  if (bytes.size() != uint64_t{width} * height * 4) return std::nullopt;
  if (!std::isfinite(scale) || scale <= 0) return std::nullopt;
  return ZVImage(width, height, ZVData(bytes.begin(), bytes.end()), scale);
}

std::optional<ZVImage> ZVImage::fromRGBA(uint32_t width, uint32_t height, ZVData &&bytes,
                                         double scale) {
  if (!zv::detail::sizeWithinCaps(width, height)) return std::nullopt;
  if (bytes.size() != uint64_t{width} * height * 4) return std::nullopt;
  if (!std::isfinite(scale) || scale <= 0) return std::nullopt;
  return ZVImage(width, height, std::move(bytes), scale);
}

std::optional<ZVImage> ZVImage::fromEncoded(std::span<const uint8_t> bytes, std::string *error) {
  zv::detail::DecodeError reason;
  auto pixels = zv::detail::decodeWhole(bytes, reason);
  if (!pixels) {
    report(error, reason);
    return std::nullopt;
  }
  return ZVImage(pixels->width, pixels->height, std::move(pixels->rgba), 1.0);
}

std::optional<ZVImage> ZVImage::fromFile(const std::string &path, std::string *error) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) {
    report(error, "cannot open " + path);
    return std::nullopt;
  }
  const std::streamoff size = file.tellg();
  if (size < 0 || size > kMaxFileBytes) {
    report(error, "cannot read " + path + ": not a regular file or larger than 1 GiB");
    return std::nullopt;
  }
  ZVData bytes(static_cast<size_t>(size));
  file.seekg(0);
  if (!file.read(reinterpret_cast<char *>(bytes.data()), size)) {
    report(error, "cannot read " + path);
    return std::nullopt;
  }
  std::string reason;
  auto image = fromEncoded(bytes, &reason);
  if (!image) report(error, path + ": " + reason);
  return image;
}

ZVData ZVImage::encodePNG() const {
  return zv::detail::encodePNG(width_, height_, pixels_);
}

bool ZVImage::writePNG(const std::string &path, std::string *error) const {
  const ZVData png = encodePNG();
  if (png.empty()) {
    report(error, "cannot encode PNG");
    return false;
  }
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file || !file.write(reinterpret_cast<const char *>(png.data()),
                           static_cast<std::streamsize>(png.size()))) {
    report(error, "cannot write " + path);
    return false;
  }
  return true;
}

ZVSize ZVImage::size() const {
  return {width_ / scale_, height_ / scale_};
}
