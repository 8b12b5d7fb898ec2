/// @file ZVCacheManager.h
/// @brief A two-value cache that recognises a firmware acknowledgement split
/// over two notifications, and hexadecimal conversions.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

/// Keeps the two most recent notification values. When their concatenation
/// starts with a firmware acknowledgement (1B 1C 26 + 5 bytes), it clears
/// the data dispatcher's receiveDataBlock and passes the 5 bytes to
/// resolverFirmwareBlock.
class ZV_EXPORT ZVCacheManager {
public:
  using SendProgressBlock = std::function<void(const ZVProgress &)>;
  using ResolverFirmwareBlock = std::function<void(const ZVData &ack)>;

  /// The previous value becomes lastValue, @p value currentValue; the cached
  /// concatenation is dropped, then managerPrinterUpdateFirmwareStatus() runs.
  void addCurrentValue(const ZVData &value);
  /// lastValue followed by currentValue (a missing value counts as empty),
  /// built on first use after a change and kept.
  const ZVData &cachedData();
  /// Forgets both values and the concatenation.
  void removeCachedData();
  /// Looks for an acknowledgement at the front of cachedData() (see the
  /// class description); nothing when it holds fewer than 8 bytes.
  void managerPrinterUpdateFirmwareStatus();

  /// Two lower-case hexadecimal digits per byte ("%02x"), no separators;
  /// empty for a length of 0 or a null pointer.
  static std::string stringFromBytes(const uint8_t *bytes, uint64_t length);
  /// Reads hexadecimal text: std::nullopt for a missing or empty string.
  /// The text is cut into pieces of two characters, except that text of odd
  /// length starts with a piece of its first character alone ("1A2" gives
  /// 01 A2). Characters are counted in UTF-16 code units. Each piece gives
  /// one byte, the low 8 bits of the value strtoul(piece, nullptr, 16)
  /// reads: leading spaces, a sign and "0x" are accepted, reading stops at
  /// the first character that is not a hexadecimal digit, and a piece with no
  /// digit gives 0 ("zz" gives 00, "f?" gives 0F, "-1" gives FF).
  static std::optional<ZVData> qxConvertHexStrToData(const std::optional<std::string> &text);

  SendProgressBlock sendProgressBlock() const { return sendProgressBlock_; }
  void setSendProgressBlock(SendProgressBlock block) { sendProgressBlock_ = std::move(block); }
  ResolverFirmwareBlock resolverFirmwareBlock() const { return resolverFirmwareBlock_; }
  void setResolverFirmwareBlock(ResolverFirmwareBlock block) {
    resolverFirmwareBlock_ = std::move(block);
  }
  const std::optional<ZVData> &currentValue() const { return currentValue_; }
  const std::optional<ZVData> &lastValue() const { return lastValue_; }

private:
  std::optional<ZVData> cachedData_;
  SendProgressBlock sendProgressBlock_;
  ResolverFirmwareBlock resolverFirmwareBlock_;
  std::optional<ZVData> currentValue_;
  std::optional<ZVData> lastValue_;
};
