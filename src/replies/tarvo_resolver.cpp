#include <zvprinter/ZVTarvoResolver.h>

#include "replies/tarvo_replies.h"

#include <memory>

namespace {

using namespace zv::detail;

ZVDataRouterBlock replyHandler(const TarvoReplyFormat &format) {
  ZVDataRouterBlock block;
  block.minDataLength = format.length;
  // The router runs the handler only once the whole reply is buffered.
  block.handleBlock = [format](std::span<const uint8_t> buffer) {
    const auto reply = buffer.first(static_cast<std::size_t>(format.length));
    auto model = std::make_shared<ZVTarvoResolverModel>();
    model->type = format.type;
    model->cost = format.length;
    model->rawData.assign(reply.begin(), reply.end());
    const auto payload = reply.subspan(format.prefix.size());
    model->data.assign(payload.begin(), payload.end());
    return std::shared_ptr<ZVCommonResolveModel>(std::move(model));
  };
  return block;
}

} // namespace

ZVTarvoResolver::ZVTarvoResolver() {
  ZVTarvoResolver::registerHandle();
}

void ZVTarvoResolver::registerHandle() {
  // The resolver owns this callback and cannot be moved, so `this` stays valid.
  setHandleFailBlock([this](const ZVData &run) {
    auto model = std::make_shared<ZVTarvoResolverModel>();
    model->type = kTarvoUnresolved;
    model->data = run;
    model->rawData = run;
    model->cost = static_cast<int64_t>(run.size());
    if (const auto resolved = resolvedBlock()) resolved(model);
  });
  for (const auto &format : kTarvoReplies)
    router().registerHandle(asBytes(format.prefix), replyHandler(format));
}
