/// @file ZVBarcodeSlice.h
/// @brief The result of a barcode content check.
#pragma once

#include <string>

/// Whether a content may be printed in a symbology, and what to print.
struct ZVBarcodeSlice {
  /// True if the content may be printed in the symbology that was checked.
  bool isVerify = false;
  /// The content to encode (possibly rewritten: check digit added, Codabar
  /// start/stop characters, Code 39 full-ASCII form); on failure whatever the
  /// check had reached. UTF-8.
  std::string content;

  bool operator==(const ZVBarcodeSlice &) const = default;
};
