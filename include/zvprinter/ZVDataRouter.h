/// @file ZVDataRouter.h
/// @brief A byte trie of reply prefixes, each with the handler that cuts the reply.
#pragma once

#include <zvprinter/ZVDataResolver.h>
#include <zvprinter/ZVExport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

/// One registered handler.
struct ZV_EXPORT ZVDataRouterBlock {
  /// Given the buffered bytes (starting with the matched prefix), returns the
  /// reply at their front, or null when it cannot decide yet. The view is
  /// valid only during the call.
  using HandleBlock =
      std::function<std::shared_ptr<ZVCommonResolveModel>(std::span<const uint8_t> buffer)>;

  /// Buffered bytes needed before the handler may run. Compared as an
  /// unsigned number, so a negative value or INT64_MAX never lets it run.
  int64_t minDataLength = 0;
  HandleBlock handleBlock; ///< an empty function never runs
};

/// The prefixes of the replies a resolver recognises.
///
/// Each trie node maps a byte to a child node; a node where a registered
/// prefix ends also holds that prefix's handler.
class ZV_EXPORT ZVDataRouter {
public:
  /// An empty trie.
  ZVDataRouter();

  /// Registers @p block for the replies starting with @p prefix, replacing a
  /// handler registered before for the same prefix. A handler of the empty
  /// prefix is stored at the root, where lookups never report it.
  void registerHandle(std::span<const uint8_t> prefix, ZVDataRouterBlock block);

  /// The handler of the longest registered prefix of @p buffer; null when no
  /// registered prefix begins it. When the walk through the trie uses the
  /// whole buffer (and for an empty buffer), a wait marker instead: a new
  /// block with minDataLength INT64_MAX and no handleBlock, since the buffer
  /// may still grow into a longer prefix.
  std::shared_ptr<const ZVDataRouterBlock> handle(std::span<const uint8_t> buffer) const;

private:
  struct Node {
    std::vector<std::pair<uint8_t, uint32_t>> children; ///< sorted by byte
    std::shared_ptr<const ZVDataRouterBlock> handler;
  };

  const Node *child(const Node &node, uint8_t byte) const;

  std::vector<Node> nodes_; ///< nodes_[0] is the root
};
