// The TSPL commands of the virtual printer: the label's size and reference,
// clearing, and PRINT, which feeds labels onto the paper.
#include "backends/sim/printer_engine.h"

#include "backends/sim/stream_bytes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace zv::detail {

namespace {

constexpr uint32_t kMaxCopies = 1000;
constexpr double kDotsPerMillimetre = 8;
constexpr double kDotsPerInch = 203;

// A TSPL length: "40 mm" in millimetres, a bare number in inches.
std::optional<uint32_t> parseLength(std::string_view text) {
  text = trimmed(text);
  double unit = kDotsPerInch;
  if (text.ends_with("mm")) {
    text.remove_suffix(2);
    unit = kDotsPerMillimetre;
  }
  const std::string number(trimmed(text));
  char *end = nullptr;
  const double value = std::strtod(number.c_str(), &end);
  if (number.empty() || end != number.c_str() + number.size() || !(value >= 0) ||
      value * unit > LabelCanvas::kMaxSide) {
    return std::nullopt;
  }
  return static_cast<uint32_t>(std::lround(value * unit));
}

} // namespace

void PrinterEngine::handleTspl(const TsplCommand &command, ZVVirtualPrinterFaults &faults,
                               std::vector<ZVData> &replies) {
  const auto &args = command.arguments;
  const auto bad = [&] { streamError(parser_.bytesSeen(), "bad TSPL " + command.keyword); };
  if (command.keyword == "SIZE") {
    const auto width = args.size() == 2 ? parseLength(args[0]) : std::nullopt;
    const auto height = args.size() == 2 ? parseLength(args[1]) : std::nullopt;
    if (!width || !height) return bad();
    label_.setSize(*width, *height);
  } else if (command.keyword == "CLS") {
    label_.clear();
  } else if (command.keyword == "REFERENCE") {
    const auto x = args.size() == 2 ? parseInteger(args[0]) : std::nullopt;
    const auto y = args.size() == 2 ? parseInteger(args[1]) : std::nullopt;
    if (!x || !y) return bad();
    label_.setReference(*x, *y);
  } else if (command.keyword == "PRINT") {
    const auto sets = !args.empty() ? parseInteger(args[0]) : std::nullopt;
    const auto copies = args.size() > 1 ? parseInteger(args[1]) : std::optional<int64_t>(1);
    if (!sets || !copies || *sets < 0 || *copies < 0) return bad();
    const auto total = static_cast<uint32_t>(std::min<int64_t>(*sets * *copies, kMaxCopies));
    startJob(faults, replies);
    if (faults.paperOut) {
      note("out of paper: label not printed");
    } else if (label_.empty()) {
      note("PRINT with an empty label");
    } else {
      const size_t before = paper_.rowCount();
      track(label_.printTo(paper_, total), before);
      statistics_.labels += total;
    }
    auto finished = finishJob(faults);
    replies.insert(replies.end(), finished.begin(), finished.end());
  } else {
    // GAP, SPEED, DENSITY, DIRECTION and the rest change nothing on paper.
    note("TSPL " + command.keyword + " ignored");
  }
}

} // namespace zv::detail
