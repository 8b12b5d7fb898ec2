#include "platform/image_codec.h"

// jpeglib.h needs FILE and size_t declared first.
#include <cstdio>
#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>

namespace zv::detail {

namespace {

// Rows are handed on in bands of this many, so the receiver's thread wakes
// a few hundred times per image rather than once per row.
constexpr uint32_t kRowsPerBand = 16;

struct JpegErrorManager {
  jpeg_error_mgr base{};
  std::jmp_buf jump{};
  std::string message;
};

[[noreturn]] void failWith(j_common_ptr info) {
  auto *errors = reinterpret_cast<JpegErrorManager *>(info->err);
  char text[JMSG_LENGTH_MAX] = {};
  info->err->format_message(info, text);
  errors->message = text;
  std::longjmp(errors->jump, 1);
}

// A file that ends early decodes as gray padding with only a warning: either
// the bytes run out (JWRN_JPEG_EOF) or a marker, usually EOI, comes before a
// scan's data is complete (JWRN_HIT_MARKER). We refuse both instead of
// printing half a picture.
void onMessage(j_common_ptr info, int level) {
  const int code = info->err->msg_code;
  if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER)) failWith(info);
}

// Every block of every component costs at least one bit of Huffman code (its
// DC difference) in the first scan that covers it, so a file with fewer bits
// than blocks cannot hold the picture its header claims.
bool tooSmallForBlocks(const jpeg_decompress_struct &info, size_t fileBytes) {
  uint64_t blocks = 0;
  for (int c = 0; c < info.num_components; ++c)
    blocks += uint64_t{info.comp_info[c].width_in_blocks} * info.comp_info[c].height_in_blocks;
  return blocks > uint64_t{fileBytes} * 8;
}

std::string sizeText(const jpeg_decompress_struct &info) {
  return std::to_string(info.image_width) + " x " + std::to_string(info.image_height) + " pixels";
}

// A progressive file that ends (with EOI) between scans decodes without a
// warning, leaving the coefficients of the missing scans zero: a flat gray
// component or a blurred picture. Every coefficient must have had a scan;
// only refinement scans may be absent.
bool missingScans(const jpeg_decompress_struct &info) {
  if (!info.progressive_mode || info.coef_bits == nullptr) return false;
  for (int c = 0; c < info.num_components; ++c)
    for (int k = 0; k < DCTSIZE2; ++k)
      if (info.coef_bits[c][k] < 0) return true;
  return false;
}

} // namespace

bool looksLikeJPEG(std::span<const uint8_t> bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF;
}

// Everything with a destructor lives outside the setjmp frame: the jump
// only skips plain locals of this function.
bool decodeJPEG(std::span<const uint8_t> bytes, PixelReceiver &receiver, DecodeError &error) {
  JpegErrorManager errors;
  jpeg_decompress_struct info{};
  info.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = failWith;
  errors.base.emit_message = onMessage;

  if (setjmp(errors.jump)) {
    jpeg_destroy_decompress(&info);
    error = "invalid JPEG: " + errors.message;
    return false;
  }
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&info, TRUE);
  if (info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK) {
    jpeg_destroy_decompress(&info);
    error = "unsupported JPEG colour space (CMYK)";
    return false;
  }
  if (!sizeWithinCaps(info.image_width, info.image_height)) {
    jpeg_destroy_decompress(&info);
    error = "JPEG of " + sizeText(info) + " exceeds the size limit";
    return false;
  }
  // Arithmetic coding can code a flat block in a tiny fraction of a bit and
  // pads a scan cut short by a marker without any warning, so neither the
  // size of such a file nor its completeness can be checked.
  if (info.arith_code) {
    jpeg_destroy_decompress(&info);
    error = "unsupported JPEG coding (arithmetic)";
    return false;
  }
  if (tooSmallForBlocks(info, bytes.size())) {
    jpeg_destroy_decompress(&info);
    error = "JPEG of " + sizeText(info) + " is too small to hold them (truncated or forged header)";
    return false;
  }
  info.out_color_space = JCS_EXT_RGBA;
  jpeg_start_decompress(&info);
  if (missingScans(info)) {
    jpeg_destroy_decompress(&info);
    error = "invalid JPEG: scans are missing (truncated file)";
    return false;
  }
  const uint32_t height = info.output_height;
  const size_t stride = size_t{info.output_width} * 4;
  uint8_t *pixels = receiver.begin(info.output_width, height, true);
  if (pixels == nullptr) {
    jpeg_destroy_decompress(&info);
    error = "not enough memory for the JPEG's pixels";
    return false;
  }
  while (info.output_scanline < height) {
    JSAMPROW row = pixels + stride * info.output_scanline;
    jpeg_read_scanlines(&info, &row, 1);
    if (info.output_scanline % kRowsPerBand == 0) receiver.rowsDone(info.output_scanline);
  }
  receiver.rowsDone(height);
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return true;
}

} // namespace zv::detail
