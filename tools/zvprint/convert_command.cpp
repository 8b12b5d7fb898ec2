// zvprint convert: an image file to the print data the printer receives.
#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVBitmapManager.h>

#include "imaging/streamed_conversion.h"

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

void runConvert(const ConvertOptions &options) {
  if (options.mode < 0 || options.mode > 2)
    fail("--mode must be 0, 1, 2, threshold, dither or cluster");
  if (options.compress != 48 && options.compress != 0)
    fail("--compress must be 48 (LZO1X) or 0 (raw raster)");
  std::optional<ZVData> data;
  if (options.watermark) {
    const ZVImage image = loadImage(options.image);
    data = ZVBitmapManager::generateGenralDataWithImage(image, true, options.mode, options.compress,
                                                        options.package);
    if (!data) fail("cannot draw " + options.image);
  } else {
    // Decoded on a second thread while the top of the image is converted.
    std::string error;
    data = zv::detail::printDataOfEncoded(readFile(options.image), options.mode, options.compress,
                                          options.package, error);
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
