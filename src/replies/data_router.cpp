#include <zvprinter/ZVDataRouter.h>

#include <algorithm>
#include <limits>

namespace {

std::shared_ptr<const ZVDataRouterBlock> waitMarker() {
  auto marker = std::make_shared<ZVDataRouterBlock>();
  marker->minDataLength = std::numeric_limits<int64_t>::max();
  return marker;
}

bool byteLess(const std::pair<uint8_t, uint32_t> &entry, uint8_t byte) {
  return entry.first < byte;
}

} // namespace

ZVDataRouter::ZVDataRouter() : nodes_(1) {}

void ZVDataRouter::registerHandle(std::span<const uint8_t> prefix, ZVDataRouterBlock block) {
  uint32_t node = 0;
  for (const uint8_t byte : prefix) {
    auto &children = nodes_[node].children;
    auto it = std::lower_bound(children.begin(), children.end(), byte, byteLess);
    if (it != children.end() && it->first == byte) {
      node = it->second;
      continue;
    }
    const auto created = static_cast<uint32_t>(nodes_.size());
    children.insert(it, {byte, created});
    nodes_.emplace_back(); // invalidates `children`; not used again below
    node = created;
  }
  nodes_[node].handler = std::make_shared<const ZVDataRouterBlock>(std::move(block));
}

const ZVDataRouter::Node *ZVDataRouter::child(const Node &node, uint8_t byte) const {
  const auto it = std::lower_bound(node.children.begin(), node.children.end(), byte, byteLess);
  if (it == node.children.end() || it->first != byte) return nullptr;
  return &nodes_[it->second];
}

std::shared_ptr<const ZVDataRouterBlock>
ZVDataRouter::handle(std::span<const uint8_t> buffer) const {
  if (buffer.empty()) return waitMarker();
  const Node *node = &nodes_.front();
  const std::shared_ptr<const ZVDataRouterBlock> *candidate = nullptr;
  for (const uint8_t byte : buffer) {
    node = child(*node, byte);
    if (node == nullptr) return candidate != nullptr ? *candidate : nullptr;
    if (node->handler) candidate = &node->handler;
  }
  // The buffer may still grow into a longer prefix: wait for a byte beyond
  // the deepest node reached.
  return waitMarker();
}
