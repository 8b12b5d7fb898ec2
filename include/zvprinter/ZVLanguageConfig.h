/// @file ZVLanguageConfig.h
/// @brief The application's language setting, stored for it.
#pragma once

#include <zvprinter/ZVExport.h>

#include <mutex>
#include <optional>
#include <string>

/// Holds a language code for the application. The library reads it nowhere:
/// no text, command or behaviour changes with it (the connection errors are
/// always in Chinese).
///
/// Threading: any thread; the accessors are guarded by a lock.
class ZV_EXPORT ZVLanguageConfig {
public:
  /// The process-wide setting, made once on first use (thread-safe).
  static ZVLanguageConfig &defaultConfig();

  /// The stored code; unset at start.
  std::optional<std::string> languageCode() const;
  /// Stores a copy of @p code; std::nullopt unsets it.
  void setLanguageCode(std::optional<std::string> code);

  ZVLanguageConfig() = default;
  ZVLanguageConfig(const ZVLanguageConfig &) = delete;
  ZVLanguageConfig &operator=(const ZVLanguageConfig &) = delete;

private:
  mutable std::mutex mutex_;
  std::optional<std::string> languageCode_;
};
