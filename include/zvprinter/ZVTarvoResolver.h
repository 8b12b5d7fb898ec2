/// @file ZVTarvoResolver.h
/// @brief The resolver of the printer's own replies.
#pragma once

#include <zvprinter/ZVCommonResolver.h>
#include <zvprinter/ZVDataResolver.h>
#include <zvprinter/ZVExport.h>

#include <cstdint>
#include <optional>
#include <string>

/// One printer reply. type: 0 status, 1 print finished, 2 firmware
/// acknowledgement, 3 bytes no prefix explains, 4 disconnect request.
struct ZV_EXPORT ZVTarvoResolverModel : ZVCommonResolveModel {
  std::optional<std::string> key; ///< unset in every model the library makes
  uint64_t type = 0;
};

/// Recognises the printer's replies:
///
/// | reply                    | bytes                            | type | data          |
/// |--------------------------|----------------------------------|------|---------------|
/// | status                   | "tarvo_sta=" + 1 byte            | 0    | the byte      |
/// | print finished           | "dithering_finis" + 1 byte       | 1    | the byte      |
/// | firmware acknowledgement | 1B 1C 26 + 5 bytes               | 2    | the 5 bytes   |
/// | disconnect request       | "Disconnect_B" + 1 byte          | 4    | the byte      |
/// | anything else            | a run of unexplained bytes       | 3    | the run       |
///
/// rawData is the whole reply and cost its length. A reply is taken as soon
/// as it is complete; unexplained runs reach resolvedBlock as type-3 models.
class ZV_EXPORT ZVTarvoResolver : public ZVCommonResolver {
public:
  /// Registers the printer's replies.
  ZVTarvoResolver();

  /// Installs the fail handler, then the firmware acknowledgement, status,
  /// print-finished and disconnect prefixes, in this order.
  void registerHandle() override;
};
