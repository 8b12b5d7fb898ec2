#include "backends/bluez/bearer_config.h"

#include <charconv>
#include <fstream>
#include <sstream>

namespace zv::detail {
namespace {

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}

} // namespace

std::optional<int> gattChannels(std::string_view mainConf) {
  std::optional<int> channels;
  bool inGatt = false;
  while (!mainConf.empty()) {
    const auto end = mainConf.find('\n');
    const std::string_view line = trimmed(mainConf.substr(0, end));
    mainConf = end == std::string_view::npos ? std::string_view{} : mainConf.substr(end + 1);
    if (line.empty() || line.front() == '#' || line.front() == ';') continue;
    if (line.front() == '[') {
      inGatt = line == "[GATT]";
      continue;
    }
    const auto equals = line.find('=');
    if (!inGatt || equals == std::string_view::npos) continue;
    if (trimmed(line.substr(0, equals)) != "Channels") continue;
    const std::string_view value = trimmed(line.substr(equals + 1));
    int number = 0;
    const auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    // The last setting counts; one we cannot read leaves the number unknown.
    if (error == std::errc{} && rest == value.data() + value.size() && number >= 1 && number <= 5) {
      channels = number;
    } else {
      channels.reset();
    }
  }
  return channels;
}

std::optional<int> gattChannelsOfFile(const std::string &path) {
  std::ifstream file(path);
  if (!file) return std::nullopt;
  std::ostringstream text;
  text << file.rdbuf();
  return gattChannels(text.str());
}

bool announcesEnhancedAtt(const ZVData &serverFeatures) {
  return !serverFeatures.empty() && (serverFeatures[0] & 0x01) != 0;
}

} // namespace zv::detail
