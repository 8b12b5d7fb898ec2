#include "platform/image_codec.h"

// jpeglib.h needs FILE and size_t declared first.
#include <cstdio>
#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>

namespace zv::detail {

namespace {

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

// A file that ends early decodes as gray padding with only a warning; we
// refuse it instead of printing half a picture.
void onMessage(j_common_ptr info, int level) {
  if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) failWith(info);
}

} // namespace

bool looksLikeJPEG(std::span<const uint8_t> bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF;
}

// Everything with a destructor lives outside the setjmp frame: the jump
// only skips plain locals of this function.
std::optional<DecodedPixels> decodeJPEG(std::span<const uint8_t> bytes, DecodeError &error) {
  DecodedPixels out;
  JpegErrorManager errors;
  jpeg_decompress_struct info{};
  info.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = failWith;
  errors.base.emit_message = onMessage;

  if (setjmp(errors.jump)) {
    jpeg_destroy_decompress(&info);
    error = "invalid JPEG: " + errors.message;
    return std::nullopt;
  }
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&info, TRUE);
  if (info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK) {
    jpeg_destroy_decompress(&info);
    error = "unsupported JPEG colour space (CMYK)";
    return std::nullopt;
  }
  if (!sizeWithinCaps(info.image_width, info.image_height)) {
    jpeg_destroy_decompress(&info);
    error = "JPEG of " + std::to_string(info.image_width) + " x " +
            std::to_string(info.image_height) + " pixels exceeds the size limit";
    return std::nullopt;
  }
  info.out_color_space = JCS_EXT_RGBA;
  jpeg_start_decompress(&info);
  out.width = info.output_width;
  out.height = info.output_height;
  const size_t stride = size_t{out.width} * 4;
  out.rgba.resize(stride * out.height);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = out.rgba.data() + stride * info.output_scanline;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return out;
}

} // namespace zv::detail
