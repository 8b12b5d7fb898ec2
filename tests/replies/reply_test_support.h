// Helpers shared by the reply tests.
#pragma once

#include <zvprinter/ZVTypes.h>

#include <string_view>

inline ZVData bytes(std::string_view text) {
  return ZVData(text.begin(), text.end());
}

inline std::string_view text(const ZVData &data) {
  return {reinterpret_cast<const char *>(data.data()), data.size()};
}
