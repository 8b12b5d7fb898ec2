/// @file ZVDataResolver.h
/// @brief Records of resolved printer replies and the interface of anything
/// that consumes the printer's byte stream.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <functional>
#include <memory>

/// One resolved reply cut from the printer's byte stream.
///
/// Models travel as std::shared_ptr so that a resolver can hand a subclass
/// (ZVTarvoResolverModel) through callbacks typed on this base record.
struct ZV_EXPORT ZVCommonResolveModel {
  virtual ~ZVCommonResolveModel() = default;

  bool isDiscardable = false; ///< consumed but not reported when set
  ZVData data;                ///< the reply's payload, as its handler cut it
  int64_t cost = 0;           ///< bytes at the front of the buffer this reply consumes
  ZVData rawData;             ///< the whole reply as received
};

/// Receives each resolved, non-discardable reply; an empty function is unset.
using ZVResolvedBlock = std::function<void(const std::shared_ptr<ZVCommonResolveModel> &)>;

/// Anything that consumes bytes received from the printer.
///
/// readDeviceInput() must be called from one thread at a time; the resolved
/// callback runs synchronously inside it.
class ZV_EXPORT ZVDataResolver {
public:
  virtual ~ZVDataResolver() = default;

  /// Hands in newly received bytes (one notification value).
  virtual void readDeviceInput(const ZVData &data) = 0;
  /// The callback for resolved replies.
  virtual ZVResolvedBlock resolvedBlock() const = 0;
  /// Stores a copy of @p block as the callback for resolved replies.
  virtual void setResolvedBlock(ZVResolvedBlock block) = 0;
};
