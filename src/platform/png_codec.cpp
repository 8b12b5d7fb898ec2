#include "platform/image_codec.h"

#include <zvprinter/ZVImage.h>

#include <png.h>

#include <csetjmp>
#include <cstring>

namespace zv::detail {

namespace {

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// Deflate turns at most 258 bytes into one 2-bit code when repeating the
// previous byte: 1032 bytes out per byte in is the format's ceiling.
constexpr uint64_t kMaxInflateRatio = 1032;

// png_image owns libpng's internal state for the writer; png_image_free is
// safe to call on an image that was never opened or has already finished.
struct PngImage {
  png_image image{};
  PngImage() { image.version = PNG_IMAGE_VERSION; }
  ~PngImage() { png_image_free(&image); }
  PngImage(const PngImage &) = delete;
  PngImage &operator=(const PngImage &) = delete;
};

struct PngInput {
  std::span<const uint8_t> bytes;
  size_t offset = 0;
  std::string message;
};

[[noreturn]] void failWith(png_structp png, png_const_charp message) {
  static_cast<PngInput *>(png_get_error_ptr(png))->message = message;
  png_longjmp(png, 1);
}

// Damaged ancillary chunks are skipped with a warning; the pixels are intact.
void ignoreWarning(png_structp, png_const_charp) {}

void readFromMemory(png_structp png, png_bytep out, size_t length) {
  auto *input = static_cast<PngInput *>(png_get_io_ptr(png));
  if (input->bytes.size() - input->offset < length) png_error(png, "truncated PNG");
  std::memcpy(out, input->bytes.data() + input->offset, length);
  input->offset += length;
}

// Every format becomes 8-bit straight RGBA. 16-bit samples are scaled to
// 8 bits as they are: the gAMA, sRGB and iCCP chunks are not applied, so a
// 16-bit file prints like the same picture saved with 8 bits.
void requestRGBA(png_structp png, png_infop info) {
  const int colorType = png_get_color_type(png, info);
  png_set_expand(png);
  png_set_scale_16(png);
  if (colorType == PNG_COLOR_TYPE_GRAY || colorType == PNG_COLOR_TYPE_GRAY_ALPHA)
    png_set_gray_to_rgb(png);
  if (!(colorType & PNG_COLOR_MASK_ALPHA) && !png_get_valid(png, info, PNG_INFO_tRNS))
    png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
}

// The filtered rows as stored: one filter byte plus the packed samples.
uint64_t storedImageBytes(png_structp png, png_infop info) {
  const uint64_t bitsPerPixel =
      uint64_t{png_get_bit_depth(png, info)} * png_get_channels(png, info);
  const uint64_t rowBytes = (png_get_image_width(png, info) * bitsPerPixel + 7) / 8;
  return png_get_image_height(png, info) * (rowBytes + 1);
}

// Rows are handed on in bands of this many, so the receiver's thread wakes
// a few hundred times per image rather than once per row.
constexpr uint32_t kRowsPerBand = 16;

// An interlaced image's rows are final only after the last pass.
void readRows(png_structp png, uint8_t *pixels, uint32_t width, uint32_t height, bool interlaced,
              PixelReceiver &receiver, std::vector<png_bytep> &rows) {
  const size_t stride = size_t{width} * 4;
  if (interlaced) {
    rows.resize(height);
    for (uint32_t y = 0; y < height; ++y)
      rows[y] = pixels + stride * y;
    png_read_image(png, rows.data());
    receiver.rowsDone(height);
    return;
  }
  for (uint32_t y = 0; y < height; ++y) {
    png_read_row(png, pixels + stride * y, nullptr);
    if ((y + 1) % kRowsPerBand == 0) receiver.rowsDone(y + 1);
  }
  receiver.rowsDone(height);
}

// The jump skips only this function's plain locals; everything with a
// destructor lives in the caller.
bool decodeRows(png_structp png, png_infop info, PixelReceiver &receiver,
                std::vector<png_bytep> &rows, DecodeError &error) {
  auto *input = static_cast<PngInput *>(png_get_error_ptr(png));
  if (setjmp(png_jmpbuf(png))) {
    error = "invalid PNG: " + input->message;
    return false;
  }
  png_read_info(png, info);
  const uint32_t width = png_get_image_width(png, info);
  const uint32_t height = png_get_image_height(png, info);
  if (!sizeWithinCaps(width, height)) {
    error = "PNG of " + std::to_string(width) + " x " + std::to_string(height) +
            " pixels exceeds the size limit";
    return false;
  }
  // A file too small to hold its pixels even at deflate's best ratio is
  // refused before the pixels are allocated.
  if (storedImageBytes(png, info) / kMaxInflateRatio > input->bytes.size()) {
    error = "PNG of " + std::to_string(width) + " x " + std::to_string(height) +
            " pixels is too small to hold them (truncated or forged header)";
    return false;
  }
  const bool opaque = !(png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) &&
                      !png_get_valid(png, info, PNG_INFO_tRNS);
  const bool interlaced = png_get_interlace_type(png, info) != PNG_INTERLACE_NONE;
  requestRGBA(png, info);
  uint8_t *pixels = receiver.begin(width, height, opaque);
  if (pixels == nullptr) {
    error = "not enough memory for the PNG's pixels";
    return false;
  }
  readRows(png, pixels, width, height, interlaced, receiver, rows);
  png_read_end(png, nullptr);
  return true;
}

} // namespace

bool looksLikePNG(std::span<const uint8_t> bytes) {
  return bytes.size() >= sizeof kPngSignature &&
         std::memcmp(bytes.data(), kPngSignature, sizeof kPngSignature) == 0;
}

bool decodePNG(std::span<const uint8_t> bytes, PixelReceiver &receiver, DecodeError &error) {
  PngInput input{bytes, 0, {}};
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &input, failWith, ignoreWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!info) {
    png_destroy_read_struct(&png, nullptr, nullptr);
    error = "out of memory for the PNG decoder";
    return false;
  }
  png_set_read_fn(png, &input, readFromMemory);
  std::vector<png_bytep> rows;
  const bool decoded = decodeRows(png, info, receiver, rows, error);
  png_destroy_read_struct(&png, &info, nullptr);
  return decoded;
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
