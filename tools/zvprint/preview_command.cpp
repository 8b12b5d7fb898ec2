// zvprint preview: how an image will look in each print mode.

#include "cli_support.h"
#include "commands.h"

#include "platform/canvas.h"

#include <zvprinter/ZVBitmapManager.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace zvprint {

namespace {

constexpr uint32_t kGap = 8;

struct PreviewOptions {
  std::string input;
  std::string output;
  int64_t mode = 0;
  double gamma = 1.0;
  bool all = false;
};

ZVImage render(const ZVImage &image, int64_t mode, double gamma) {
  auto rendering = ZVBitmapManager::generateRenderingWithImage(image, mode, gamma, false);
  if (!rendering) fail("cannot render mode " + std::to_string(mode) + ": image too small");
  return std::move(*rendering);
}

// The source and the three renderings left to right, top-aligned, on white.
// The sheet's size is checked before anything is rendered, and each
// rendering is drawn and dropped in turn, so the peak is the source, the
// sheet and one rendering.
ZVImage sideBySide(const ZVImage &image, double gamma) {
  const uint64_t width = uint64_t{image.pixelWidth()} * 4 + 3 * kGap;
  const uint64_t height = image.pixelHeight();
  if (width > ZVImage::kMaxSide || width * height > ZVImage::kMaxPixels)
    fail("the image (" + std::to_string(image.pixelWidth()) + " x " + std::to_string(height) +
         " pixels) is too large to show four times side by side (at most " +
         std::to_string(ZVImage::kMaxPixels) + " pixels); preview one --mode at a time");
  auto canvas = zv::detail::makeCanvas(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  if (!canvas) fail("image too large to show four times side by side");
  zv::detail::fillCanvas(*canvas, 255, 255, 255, 255);
  zv::detail::drawImage(*canvas, image, 0, 0, image.pixelWidth(), image.pixelHeight());
  int64_t x = 0;
  for (int64_t mode = 0; mode < 3; ++mode) {
    x += image.pixelWidth() + kGap;
    const ZVImage rendering = render(image, mode, gamma);
    zv::detail::drawImage(*canvas, rendering, x, 0, rendering.pixelWidth(),
                          rendering.pixelHeight());
  }
  // Everything was drawn over opaque white, so the premultiplied bytes are
  // already straight RGBA and can be handed over as they are.
  auto composed = ZVImage::fromRGBA(canvas->width, canvas->height, std::move(canvas->pixels));
  if (!composed) fail("cannot compose the renderings");
  return std::move(*composed);
}

void runPreview(const PreviewOptions &options) {
  const ZVImage image = loadImage(options.input);
  const ZVImage result =
      options.all ? sideBySide(image, options.gamma) : render(image, options.mode, options.gamma);
  const ZVData png = result.encodePNG();
  if (png.empty()) fail("cannot encode the preview of " + options.input + " as a PNG");
  writeFile(options.output, png);
}

} // namespace

void addPreviewCommand(CLI::App &app) {
  auto options = std::make_shared<PreviewOptions>();
  CLI::App *command = app.add_subcommand(
      "preview", "Render how IMAGE will print: 0 threshold, 1 error diffusion, 2 gray scale");
  command->add_option("IMAGE", options->input, "PNG or JPEG image")->required();
  command->add_option("-o,--output", options->output, "PNG file to write")->required();
  auto *mode =
      command->add_option("--mode", options->mode, "0 threshold (default), 1 dither, 2 gray scale")
          ->transform(modeOption())
          ->check(CLI::Range(0, 2));
  command->add_option("--gamma", options->gamma, "gamma of the gray-scale rendering (default 1)")
      ->check(CLI::Validator(
          [](std::string &text) {
            const double value = std::strtod(text.c_str(), nullptr);
            return value > 0 && std::isfinite(value) ? std::string()
                                                     : "gamma must be a positive number";
          },
          "G > 0"));
  command->add_flag("--all", options->all, "source and the three renderings side by side")
      ->excludes(mode);
  command->callback([options] { runPreview(*options); });
}

} // namespace zvprint
