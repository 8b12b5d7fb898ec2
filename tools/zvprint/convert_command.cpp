// zvprint convert: an image file to the print data the printer receives.
#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVBitmapManager.h>

#include "imaging/streamed_conversion.h"
#include "platform/image_codec.h"

#include <cmath>
#include <memory>

namespace zvprint {

namespace {

struct ConvertOptions {
  std::string image;
  std::string output;
  int64_t mode = 0;
  int64_t compress = 48;
  bool package = false;
  bool watermark = false;
};

// Frame headers carry the row width in bytes and the row count in 16 bits
// each; a larger raster would get headers that lie about it.
constexpr uint64_t kMaxFrameField = 0xFFFF;

void checkFramable(uint64_t width, uint64_t rows) {
  if ((width + 7) / 8 > kMaxFrameField || rows > kMaxFrameField)
    fail("the image makes a raster of " + std::to_string(width) + " x " + std::to_string(rows) +
         " dots; framed print data holds at most 65535 rows of at most 524280 dots: cut the " +
         "image into parts, or leave out --package");
}

// With the white band, the image is drawn at its size in points below a
// band of 16 rows (narrower than 500 points) or 24.
void checkFramableWithBand(const ZVImage &image) {
  const ZVSize points = image.size();
  checkFramable(static_cast<uint64_t>(std::ceil(points.width)),
                static_cast<uint64_t>(std::ceil(points.height)) + (points.width < 500 ? 16 : 24));
}

// Reads only an image file's header: it refuses the pixels, so the decoder
// stops before allocating or decoding anything.
class SizeProbe : public zv::detail::PixelReceiver {
public:
  uint8_t *begin(uint32_t width, uint32_t height, bool) override {
    width_ = width;
    height_ = height;
    return nullptr;
  }
  void rowsDone(uint32_t) override {}
  void check(std::span<const uint8_t> bytes) {
    zv::detail::DecodeError ignored; // a damaged file is reported by the conversion
    zv::detail::decodeInto(bytes, *this, ignored);
    if (width_ != 0) checkFramable(width_, height_);
  }

private:
  uint32_t width_ = 0;
  uint32_t height_ = 0;
};

void runConvert(const ConvertOptions &options) {
  if (options.mode < 0 || options.mode > 2)
    fail("--mode must be 0, 1, 2, threshold, dither or cluster");
  if (options.compress != 48 && options.compress != 0)
    fail("--compress must be 48 (LZO1X) or 0 (raw raster)");
  std::optional<ZVData> data;
  if (options.watermark) {
    const ZVImage image = loadImage(options.image);
    if (options.package) checkFramableWithBand(image);
    data = ZVBitmapManager::generateGenralDataWithImage(image, true, options.mode, options.compress,
                                                        options.package);
    if (!data) fail("cannot draw " + options.image);
  } else {
    // Decoded on a second thread while the top of the image is converted.
    const ZVData bytes = readFile(options.image, "image");
    if (options.package) SizeProbe().check(bytes);
    std::string error;
    data = zv::detail::printDataOfEncoded(bytes, options.mode, options.compress, options.package,
                                          error);
    if (!data) fail(options.image + ": " + error);
  }
  if (data->empty()) fail("no print data for " + options.image);
  writeFile(options.output, *data);
}

} // namespace

void addConvertCommand(CLI::App &app) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App *command = app.add_subcommand(
      "convert", "Convert an image to print data (1-bit raster, raw or LZO1X, optionally framed)");
  command->add_option("IMAGE", options->image, "PNG or JPEG image")->required();
  command->add_option("-o,--output", options->output, "file to write the print data to")
      ->required();
  command->add_option("--mode", options->mode, "0 threshold (default), 1 dither, 2 cluster")
      ->transform(modeOption());
  command->add_option("--compress", options->compress, "48 LZO1X (default) or 0 raw raster");
  command->add_flag("--package", options->package, "cut LZO1X data into framed row blocks");
  command->add_flag("--watermark", options->watermark, "add a blank band above the image");
  command->callback([options] { runConvert(*options); });
}

} // namespace zvprint
