// zvprint convert: an image file to the print data the printer receives.
#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVBitmapManager.h>

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

// The raster the conversion will make: the image at its pixel size, or with
// the white band the image drawn at its size in points below a band of 16
// (narrower than 500 points) or 24 rows.
void checkFramable(const ZVImage &image, bool watermark) {
  uint64_t width = image.pixelWidth();
  uint64_t rows = image.pixelHeight();
  if (watermark) {
    const ZVSize points = image.size();
    width = static_cast<uint64_t>(std::ceil(points.width));
    rows = static_cast<uint64_t>(std::ceil(points.height)) + (points.width < 500 ? 16 : 24);
  }
  if ((width + 7) / 8 > kMaxFrameField || rows > kMaxFrameField)
    fail("the image makes a raster of " + std::to_string(width) + " x " + std::to_string(rows) +
         " dots; framed print data holds at most 65535 rows of at most 524280 dots: cut the " +
         "image into parts, or leave out --package");
}

void runConvert(const ConvertOptions &options) {
  if (options.mode < 0 || options.mode > 2)
    fail("--mode must be 0, 1, 2, threshold, dither or cluster");
  if (options.compress != 48 && options.compress != 0)
    fail("--compress must be 48 (LZO1X) or 0 (raw raster)");
  const ZVImage image = loadImage(options.image);
  if (options.package) checkFramable(image, options.watermark);
  const auto data = ZVBitmapManager::generateGenralDataWithImage(
      image, options.watermark, options.mode, options.compress, options.package);
  if (!data) fail("cannot draw " + options.image);
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
