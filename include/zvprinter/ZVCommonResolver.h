/// @file ZVCommonResolver.h
/// @brief Cuts a byte stream that arrives in arbitrary pieces into replies.
#pragma once

#include <zvprinter/ZVDataResolver.h>
#include <zvprinter/ZVDataRouter.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVTypes.h>

#include <cstddef>
#include <functional>
#include <utility>

/// Buffers received bytes, asks its router which handler fits the front of
/// the buffer, consumes the reply the handler cuts and reports it.
///
/// Bytes that no registered prefix explains are gathered and reported as one
/// run through handleFailBlock, just before the next recognised reply or
/// when the buffer has been used up. A partial reply stays buffered until
/// more bytes arrive.
///
/// Not copyable or movable: handlers registered by subclasses refer to the
/// resolver itself. Callbacks run synchronously inside readDeviceInput();
/// call it from one thread at a time.
class ZV_EXPORT ZVCommonResolver : public ZVDataResolver {
public:
  /// Receives a run of unexplained bytes; an empty function is unset.
  using HandleFailBlock = std::function<void(const ZVData &run)>;

  /// Empty buffers and an empty router. Subclasses call their own
  /// registerHandle() from their constructor (a virtual call from this
  /// constructor would not reach them).
  ZVCommonResolver();
  ~ZVCommonResolver() override;
  ZVCommonResolver(const ZVCommonResolver &) = delete;
  ZVCommonResolver &operator=(const ZVCommonResolver &) = delete;

  /// Registers the prefixes this resolver recognises; nothing here.
  virtual void registerHandle();

  /// Appends @p data to the buffer, then runs resolveData().
  void readDeviceInput(const ZVData &data) override;

  /// Consumes every reply complete at the front of the buffer, in order.
  /// Each reply's handler decides how many bytes it takes (at least one,
  /// at most what is buffered). Runs as a loop, so long runs of
  /// unexplained bytes cost linear time and no stack.
  void resolveData();
  /// Reports the gathered unexplained bytes, if any, as one run.
  void handleNotResolvedData();

  ZVResolvedBlock resolvedBlock() const override { return resolvedBlock_; }
  void setResolvedBlock(ZVResolvedBlock block) override { resolvedBlock_ = std::move(block); }
  HandleFailBlock handleFailBlock() const { return handleFailBlock_; }
  void setHandleFailBlock(HandleFailBlock block) { handleFailBlock_ = std::move(block); }

  ZVDataRouter &router() { return router_; }
  const ZVDataRouter &router() const { return router_; }

  /// Received bytes not yet consumed.
  ZVData cacheData() const;
  /// Unexplained bytes not yet reported (they precede cacheData() in the stream).
  const ZVData &handleFailData() const { return handleFailData_; }

private:
  void consume(int64_t cost);
  void compact();

  ZVResolvedBlock resolvedBlock_;
  ZVDataRouter router_;
  HandleFailBlock handleFailBlock_;
  ZVData cacheData_; ///< consumed bytes before cacheStart_ are dropped in bulk
  std::size_t cacheStart_ = 0;
  ZVData handleFailData_;
};
