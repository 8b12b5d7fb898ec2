#pragma once

// Readable failure messages for slice comparisons, and short constructors.

#include <zvprinter/ZVBarcodeSlice.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

inline void PrintTo(const ZVBarcodeSlice &slice, std::ostream *out) {
  *out << (slice.isVerify ? "valid " : "invalid ") << testing::PrintToString(slice.content);
}

inline ZVBarcodeSlice valid(std::string content) {
  return {true, std::move(content)};
}
inline ZVBarcodeSlice invalid(std::string content) {
  return {false, std::move(content)};
}
