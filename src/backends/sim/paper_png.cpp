// The paper as a 1-bit PNG, encoded row by row from the packed bits: a paper
// of N dots never costs more than N / 8 bytes to save.
#include "backends/sim/paper.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>

namespace zv::detail {

namespace {

void appendToBuffer(png_structp png, png_bytep data, png_size_t length) {
  auto *out = static_cast<ZVData *>(png_get_io_ptr(png));
  out->insert(out->end(), data, data + length);
}

void flushNothing(png_structp) {}

// Everything libpng may jump out of lives in the caller, so the jump skips
// no destructor.
bool encodeRows(const Paper &paper, ZVData &out, ZVData &line) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, info ? &info : nullptr);
    return false;
  }
  png_set_write_fn(png, &out, appendToBuffer, flushNothing);
  png_set_IHDR(png, info, paper.widthDots(), static_cast<png_uint_32>(paper.rowCount()), 1,
               PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (size_t y = 0; y < paper.rowCount(); ++y) {
    // PNG gray 1 is white; the paper's bit 1 is a dot. Narrow rows end in
    // white paper.
    const auto dots = paper.row(y);
    std::fill(line.begin(), line.end(), 0xFF);
    std::transform(dots.begin(), dots.end(), line.begin(),
                   [](uint8_t b) { return static_cast<uint8_t>(~b); });
    png_write_row(png, line.data());
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

} // namespace

ZVData Paper::png() const {
  if (rows_ == 0 || widthDots_ == 0 || rows_ > PNG_UINT_31_MAX) return {};
  ZVData out;
  ZVData line((size_t{widthDots_} + 7) / 8);
  if (!encodeRows(*this, out, line)) return {};
  return out;
}

} // namespace zv::detail
