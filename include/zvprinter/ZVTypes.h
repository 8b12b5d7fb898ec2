/// @file ZVTypes.h
/// @brief Value types shared by every part of the zvprinter API.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// An owned, growable byte buffer: every print job, command and reply is one.
using ZVData = std::vector<uint8_t>;

/// A failure reported to the application (connection errors).
struct ZVError {
  std::string domain;               ///< e.g. "ZVConnectErrorDomain"
  int64_t code = 0;                 ///< domain-specific code
  std::string localizedDescription; ///< human-readable text
};

/// Progress of a transfer, counted in bytes.
struct ZVProgress {
  int64_t totalUnitCount = 0;
  int64_t completedUnitCount = 0;
};

/// A width and a height, in points unless said otherwise.
struct ZVSize {
  double width = 0;
  double height = 0;
};

/// A rectangle with its origin at the top left, in pixels or points as the
/// operation returning it says.
struct ZVRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};
