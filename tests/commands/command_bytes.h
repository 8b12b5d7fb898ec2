#pragma once

// Expected command bytes are written as text literals; this turns them into
// the byte buffers the generators return.

#include <zvprinter/ZVTypes.h>

#include <string_view>

inline ZVData bytesOf(std::string_view text) {
  return ZVData(text.begin(), text.end());
}
