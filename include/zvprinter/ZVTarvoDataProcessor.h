/// @file ZVTarvoDataProcessor.h
/// @brief Turns the printer's replies into callbacks.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTarvoResolver.h>
#include <zvprinter/ZVTypes.h>

#include <functional>
#include <utility>

/// Owns a ZVTarvoResolver, feeds it every notification received from the
/// printer and acts on each reply:
///
/// - status: clears the data dispatcher's receiveDataBlock, then reports the
///   status byte with its top bit cleared through autoTarvoStateBlock;
/// - print finished: clears receiveDataBlock, then calls
///   printImageCompleteBlock with 0;
/// - firmware acknowledgement: clears receiveDataBlock, then calls
///   resolverFirmwareBlock with the 5 acknowledgement bytes (the fourth is
///   the result, 0 for accepted);
/// - disconnect request: disconnects the connected printer;
/// - anything else: nothing.
///
/// Not copyable or movable (its resolver calls back into it). Runs on the
/// thread that delivers notifications; callbacks run inside doReadData().
class ZV_EXPORT ZVTarvoDataProcessor {
public:
  using SendProgressBlock = std::function<void(const ZVProgress &)>;
  /// Receives the 5 bytes of a firmware acknowledgement.
  using ResolverFirmwareBlock = std::function<void(const ZVData &ack)>;

  ZVTarvoDataProcessor();
  ZVTarvoDataProcessor(const ZVTarvoDataProcessor &) = delete;
  ZVTarvoDataProcessor &operator=(const ZVTarvoDataProcessor &) = delete;

  /// Passes one notification value to the resolver.
  void doReadData(const ZVData &data);
  /// Acts on one resolved reply (see the class description).
  void processResolveModel(const ZVTarvoResolverModel &model);

  /// Stored for the application; the processor never calls it.
  SendProgressBlock sendProgressBlock() const { return sendProgressBlock_; }
  void setSendProgressBlock(SendProgressBlock block) { sendProgressBlock_ = std::move(block); }
  ResolverFirmwareBlock resolverFirmwareBlock() const { return resolverFirmwareBlock_; }
  /// Installed by the firmware sender; an empty function removes it.
  void setResolverFirmwareBlock(ResolverFirmwareBlock block) {
    resolverFirmwareBlock_ = std::move(block);
  }

  ZVTarvoResolver &resolver() { return resolver_; }
  const ZVTarvoResolver &resolver() const { return resolver_; }

private:
  SendProgressBlock sendProgressBlock_;
  ResolverFirmwareBlock resolverFirmwareBlock_;
  ZVTarvoResolver resolver_;
};
