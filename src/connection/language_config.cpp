#include <zvprinter/ZVLanguageConfig.h>

ZVLanguageConfig &ZVLanguageConfig::defaultConfig() {
  static ZVLanguageConfig config;
  return config;
}

std::optional<std::string> ZVLanguageConfig::languageCode() const {
  std::lock_guard lock(mutex_);
  return languageCode_;
}

void ZVLanguageConfig::setLanguageCode(std::optional<std::string> code) {
  std::lock_guard lock(mutex_);
  languageCode_ = std::move(code);
}
