// zvprint label: writes a complete TSPL label job (SIZE, GAP, SPEED,
// DENSITY, CLS, BITMAP, PRINT) to a file, or prints it with --print.

#include "cli_support.h"
#include "commands.h"
#include "printing.h"

#include <zvprinter/ZVCmdTSCGenerator.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zvprint {
namespace {

// What TSPL printers accept: a label side of at most 1000 mm (8000 dots at
// 8 dots per millimetre), a gap of at most 25.4 mm (one inch), DENSITY
// 0..15, SPEED 1..18 inches per second (most printers fewer), BITMAP modes
// 0 overwrite, 1 OR, 2 XOR, and PRINT counts up to 999999999.
constexpr int64_t kMaxLabelMillimetres = 1000;
constexpr int64_t kDotsPerMillimetre = 8;
constexpr double kMaxGapMillimetres = 25.4;
constexpr int64_t kMaxDensity = 15;
constexpr int64_t kMaxSpeed = 18;

struct LabelOptions {
  std::string output;
  bool print = false;
  PrintingOptions printing;
  std::string size = "40x30";
  std::string gap;
  std::string image;
  int64_t x = 0;
  int64_t y = 0;
  int64_t mode = 0;
  int64_t compress = 0;
  std::optional<int64_t> density;
  std::optional<int64_t> speed;
  int64_t copies = 1;
};

// Splits "AxB" at the 'x'; B is empty when there is none.
std::pair<std::string_view, std::string_view> splitAtX(std::string_view text) {
  const size_t x = text.find('x');
  if (x == std::string_view::npos) return {text, {}};
  return {text.substr(0, x), text.substr(x + 1)};
}

std::optional<int64_t> wholeNumber(std::string_view text) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty() || text[0] == '-')
    return std::nullopt;
  return value;
}

// Digits with at most one decimal point between digits, e.g. "2" or "1.5".
bool isDecimal(std::string_view text) {
  const size_t point = text.find('.');
  const auto digits = [](std::string_view part) {
    return !part.empty() && part.size() <= 6 &&
           std::ranges::all_of(part, [](char c) { return c >= '0' && c <= '9'; });
  };
  if (point == std::string_view::npos) return digits(text);
  return digits(text.substr(0, point)) && digits(text.substr(point + 1));
}

// "WxH" in whole millimetres, each side 1..1000.
std::pair<int64_t, int64_t> parseSize(const std::string &text) {
  const auto [widthText, heightText] = splitAtX(text);
  const auto width = wholeNumber(widthText);
  const auto height = wholeNumber(heightText);
  if (!width || !height)
    fail("--size must be WIDTHxHEIGHT in millimetres, e.g. 40x30, not '" + text + "'");
  if (*width < 1 || *height < 1 || *width > kMaxLabelMillimetres || *height > kMaxLabelMillimetres)
    fail("--size " + text + " is outside what a label printer takes: each side 1 to " +
         std::to_string(kMaxLabelMillimetres) + " mm");
  return {*width, *height};
}

// "M" or "MxN": gap height (0..25.4) and offset (up to the label's height)
// in millimetres, decimals allowed.
std::string gapCommand(const std::string &text, int64_t labelHeight) {
  auto [gap, offset] = splitAtX(text);
  if (text.find('x') == std::string::npos) offset = "0";
  if (!isDecimal(gap) || !isDecimal(offset))
    fail("--gap must be GAP or GAPxOFFSET in millimetres, e.g. 2 or 2x0, not '" + text + "'");
  if (std::stod(std::string(gap)) > kMaxGapMillimetres ||
      std::stod(std::string(offset)) > static_cast<double>(labelHeight))
    fail("--gap " + text + " is outside what TSPL takes: a gap of at most 25.4 mm and an " +
         "offset no longer than the label (" + std::to_string(labelHeight) + " mm)");
  return "GAP " + std::string(gap) + " mm," + std::string(offset) + " mm\r\n";
}

void append(ZVData &job, const ZVData &command) {
  job.insert(job.end(), command.begin(), command.end());
}

// The image's corner must lie on the label (a bitmap placed beyond it would
// print nothing at all).
void checkPlacement(const LabelOptions &options, int64_t width, int64_t height) {
  const auto check = [](const char *flag, int64_t value, int64_t dots) {
    if (value < 0 || value >= dots)
      fail(std::string(flag) + " " + std::to_string(value) + " is off the label: use 0 to " +
           std::to_string(dots - 1) + " dots (8 dots per mm)");
  };
  check("--x", options.x, width * kDotsPerMillimetre);
  check("--y", options.y, height * kDotsPerMillimetre);
}

void writeLabel(const LabelOptions &options) {
  using G = ZVCmdTSCGenerator;
  const auto [width, height] = parseSize(options.size);
  if (!options.image.empty()) checkPlacement(options, width, height);
  ZVData job = G::setPrintAreaSizeWithWidth(width, height);
  if (!options.gap.empty())
    append(job, G::appendTSCDataWithCmd(gapCommand(options.gap, height)).value());
  if (options.speed) append(job, G::setPrintSpeed(static_cast<uint64_t>(*options.speed)));
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
  if (!options.output.empty()) writeFile(options.output, job);
  if (options.print)
    printBytes(job, options.printing,
               installBackend(options.printing.backend, options.printing.printer));
}

} // namespace

void addLabelCommand(CLI::App &app) {
  auto *command = app.add_subcommand("label", "Write a TSPL label job to a file, or print it");
  const auto options = std::make_shared<LabelOptions>();
  command->add_option("-o,--output", options->output, "File to write the job to");
  command->add_flag("--print", options->print,
                    "Send the job to the printer and wait for its confirmation");
  addPrintingOptions(*command, options->printing);
  command->add_option("--size", options->size, "Label size WIDTHxHEIGHT in mm")
      ->capture_default_str();
  command->add_option("--gap", options->gap, "Gap between labels in mm: GAP or GAPxOFFSET");
  auto *image = command->add_option("--image", options->image, "Image to print (PNG or JPEG)");
  command->add_option("--x", options->x, "Left edge of the image in dots")->needs(image);
  command->add_option("--y", options->y, "Top edge of the image in dots")->needs(image);
  command
      ->add_option("--mode", options->mode,
                   "0 threshold (BITMAP overwrite), 1 dither (OR), 2 cluster (XOR)")
      ->transform(modeOption())
      ->check(CLI::Range(0, 2))
      ->needs(image);
  command->add_option("--compress", options->compress, "48 for LZO1X payload, 0 for raw")
      ->check(CLI::IsMember({48, 0}))
      ->needs(image);
  command->add_option("--density", options->density, "Print density (DENSITY), 0 to 15")
      ->check(CLI::Range(int64_t{0}, kMaxDensity));
  command->add_option("--speed", options->speed, "Print speed (SPEED) in inches per second")
      ->check(CLI::Range(int64_t{1}, kMaxSpeed));
  command->add_option("--copies", options->copies, "Copies of the label")
      ->check(CLI::Range(int64_t{1}, int64_t{999999999}))
      ->capture_default_str();
  command->callback([options] {
    if (options->output.empty() && !options->print)
      fail("label: --output is required unless --print is given", 2);
    writeLabel(*options);
  });
}

} // namespace zvprint
