#include <zvprinter/ZVBleService.h>

#include <algorithm>
#include <cctype>

std::string ZVBleUUIDString(std::string_view uuid) {
  std::string upper(uuid);
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  constexpr std::string_view kBase = "-0000-1000-8000-00805F9B34FB";
  if (upper.size() == 36 && upper.starts_with("0000") &&
      std::string_view(upper).substr(8) == kBase) {
    return upper.substr(4, 4);
  }
  return upper;
}

std::shared_ptr<ZVBleCharacteristic> ZVBleService::characteristic(std::string_view uuid) const {
  const std::string wanted = ZVBleUUIDString(uuid);
  for (const auto &characteristic : characteristics_) {
    if (characteristic->uuid() == wanted) return characteristic;
  }
  return nullptr;
}
