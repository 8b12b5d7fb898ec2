// zvprint bounds: the rectangle of an image's non-white content.

#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVBitmapManager.h>

#include <cstdio>

namespace zvprint {

namespace {

void runBounds(const std::string &path) {
  const ZVImage image = loadImage(path);
  const ZVRect rect = ZVBitmapManager::contentInImage(image);
  // Without content the width or height comes back wrapped around to more
  // than the image (or to 0 for a side of 2 pixels). A 1 x 1 image cannot
  // tell the two apart and always reports its pixel.
  const bool none = rect.width > image.pixelWidth() || rect.height > image.pixelHeight() ||
                    rect.width < 1 || rect.height < 1;
  if (none) {
    std::printf("no content\n");
    return;
  }
  std::printf("%.0f %.0f %.0f %.0f\n", rect.x, rect.y, rect.width, rect.height);
}

} // namespace

void addBoundsCommand(CLI::App &app) {
  auto path = std::make_shared<std::string>();
  CLI::App *command = app.add_subcommand(
      "bounds", "Print the content rectangle of IMAGE as \"x y width height\" in pixels");
  command->add_option("IMAGE", *path, "PNG or JPEG image")->required();
  command->callback([path] { runBounds(*path); });
}

} // namespace zvprint
