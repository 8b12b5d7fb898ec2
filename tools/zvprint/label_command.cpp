// zvprint label: writes a complete TSPL label job (SIZE, GAP, SPEED,
// DENSITY, CLS, BITMAP, PRINT) to a file, ready to send to a printer.

#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVCmdTSCGenerator.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <regex>
#include <string>

namespace zvprint {
namespace {

struct LabelOptions {
  std::string output;
  std::string size = "40x30";
  std::string gap;
  std::string image;
  int64_t x = 0;
  int64_t y = 0;
  int64_t mode = 0;
  int64_t compress = 0;
  std::optional<int64_t> density;
  std::optional<uint64_t> speed;
  int64_t copies = 1;
};

// "WxH" in whole millimetres.
std::pair<int64_t, int64_t> parseSize(const std::string &text) {
  static const std::regex pattern(R"((\d{1,9})x(\d{1,9}))");
  std::smatch match;
  if (!std::regex_match(text, match, pattern))
    fail("--size must be WIDTHxHEIGHT in millimetres, e.g. 40x30, not '" + text + "'");
  return {std::stoll(match[1]), std::stoll(match[2])};
}

// "M" or "MxN": gap height and offset in millimetres, decimals allowed.
std::string gapCommand(const std::string &text) {
  static const std::regex pattern(R"((\d{1,6}(?:\.\d{1,3})?)(?:x(\d{1,6}(?:\.\d{1,3})?))?)");
  std::smatch match;
  if (!std::regex_match(text, match, pattern))
    fail("--gap must be GAP or GAPxOFFSET in millimetres, e.g. 2 or 2x0, not '" + text + "'");
  const std::string offset = match[2].matched ? match[2].str() : "0";
  return "GAP " + match[1].str() + " mm," + offset + " mm\r\n";
}

void append(ZVData &job, const ZVData &command) {
  job.insert(job.end(), command.begin(), command.end());
}

void writeLabel(const LabelOptions &options) {
  using G = ZVCmdTSCGenerator;
  const auto [width, height] = parseSize(options.size);
  ZVData job = G::setPrintAreaSizeWithWidth(width, height);
  if (!options.gap.empty()) append(job, G::appendTSCDataWithCmd(gapCommand(options.gap)).value());
  if (options.speed) append(job, G::setPrintSpeed(*options.speed));
  if (options.density) append(job, G::setPrintDensity(*options.density));
  append(job, G::setCLS());
  if (!options.image.empty()) {
    const ZVImage image = loadImage(options.image);
    const auto bitmap =
        G::addBitmapWithXPos(options.x, options.y, static_cast<uint64_t>(options.mode), image,
                             options.mode, options.compress);
    if (!bitmap)
      fail("image " + options.image + " is too large for one BITMAP command (" +
           std::to_string(image.pixelWidth()) + "x" + std::to_string(image.pixelHeight()) +
           " pixels; payload and raster together may not exceed 200000 bytes)");
    append(job, *bitmap);
  }
  append(job, G::printWithSets(1, options.copies));
  writeFile(options.output, job);
}

} // namespace

void addLabelCommand(CLI::App &app) {
  auto *command = app.add_subcommand("label", "Write a TSPL label job to a file");
  const auto options = std::make_shared<LabelOptions>();
  command->add_option("-o,--output", options->output, "File to write the job to")->required();
  command->add_option("--size", options->size, "Label size WIDTHxHEIGHT in mm")
      ->capture_default_str();
  command->add_option("--gap", options->gap, "Gap between labels in mm: GAP or GAPxOFFSET");
  auto *image = command->add_option("--image", options->image, "Image to print (PNG or JPEG)");
  command->add_option("--x", options->x, "Left edge of the image in dots")->needs(image);
  command->add_option("--y", options->y, "Top edge of the image in dots")->needs(image);
  command->add_option("--mode", options->mode, "Processing mode")
      ->transform(modeOption())
      ->needs(image);
  command->add_option("--compress", options->compress, "48 for LZO1X payload, 0 for raw")
      ->check(CLI::IsMember({48, 0}))
      ->needs(image);
  command->add_option("--density", options->density, "Print density (DENSITY)");
  command->add_option("--speed", options->speed, "Print speed (SPEED)");
  command->add_option("--copies", options->copies, "Copies of the label")
      ->check(CLI::Range(int64_t{1}, int64_t{999999999}))
      ->capture_default_str();
  command->callback([options] { writeLabel(*options); });
}

} // namespace zvprint
