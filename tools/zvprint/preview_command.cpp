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
ZVImage sideBySide(const std::vector<ZVImage> &images) {
  uint64_t width = 0;
  uint32_t height = 0;
  for (const ZVImage &image : images) {
    width += image.pixelWidth() + (width == 0 ? 0 : kGap);
    height = std::max(height, image.pixelHeight());
  }
  if (width > ZVImage::kMaxSide) fail("image too wide to show four times side by side");
  auto canvas = zv::detail::makeCanvas(static_cast<uint32_t>(width), height);
  if (!canvas) fail("image too large to show four times side by side");
  zv::detail::fillCanvas(*canvas, 255, 255, 255, 255);
  int64_t x = 0;
  for (const ZVImage &image : images) {
    zv::detail::drawImage(*canvas, image, x, 0, image.pixelWidth(), image.pixelHeight());
    x += image.pixelWidth() + kGap;
  }
  auto composed = zv::detail::imageFromCanvas(*canvas);
  if (!composed) fail("cannot compose the renderings");
  return std::move(*composed);
}

void runPreview(const PreviewOptions &options) {
  const ZVImage image = loadImage(options.input);
  ZVImage result =
      options.all ? sideBySide({image, render(image, 0, options.gamma),
                                render(image, 1, options.gamma), render(image, 2, options.gamma)})
                  : render(image, options.mode, options.gamma);
  std::string error;
  if (!result.writePNG(options.output, &error)) fail(error);
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
