/// @file ZVPacker.h
/// @brief Shared holder of packing state kept for the application.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <utility>
#include <vector>

/// One shared instance whose properties belong to the application: the
/// library creates them (packCount 0, offset 0, grayDataBuffer empty) and
/// never reads or changes them afterwards.
///
/// Not synchronised: an application that touches it from several threads
/// must lock around its own accesses.
class ZV_EXPORT ZVPacker {
public:
  /// The one instance, created on first use (thread-safe), never destroyed
  /// before the process ends.
  static ZVPacker &shared();

  ZVPacker(const ZVPacker &) = delete;
  ZVPacker &operator=(const ZVPacker &) = delete;

  uint16_t packCount() const { return packCount_; }
  void setPackCount(uint16_t packCount) { packCount_ = packCount; }

  uint32_t offset() const { return offset_; }
  void setOffset(uint32_t offset) { offset_ = offset; }

  /// A growable array of byte buffers; the mutable getter lets the
  /// application append to it in place.
  const std::vector<ZVData> &grayDataBuffer() const { return grayDataBuffer_; }
  std::vector<ZVData> &grayDataBuffer() { return grayDataBuffer_; }
  void setGrayDataBuffer(std::vector<ZVData> grayDataBuffer) {
    grayDataBuffer_ = std::move(grayDataBuffer);
  }

private:
  ZVPacker() = default;

  uint16_t packCount_ = 0;
  uint32_t offset_ = 0;
  std::vector<ZVData> grayDataBuffer_;
};
