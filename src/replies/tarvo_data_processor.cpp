#include <zvprinter/ZVTarvoDataProcessor.h>

#include "replies/reply_hooks.h"
#include "replies/tarvo_replies.h"

#include <memory>

using namespace zv::detail;

ZVTarvoDataProcessor::ZVTarvoDataProcessor() {
  // The processor owns its resolver and cannot be moved, so `this` outlives
  // the callback.
  resolver_.setResolvedBlock([this](const std::shared_ptr<ZVCommonResolveModel> &model) {
    if (const auto *reply = dynamic_cast<const ZVTarvoResolverModel *>(model.get()))
      processResolveModel(*reply);
  });
}

void ZVTarvoDataProcessor::doReadData(const ZVData &data) {
  resolver_.readDeviceInput(data);
}

void ZVTarvoDataProcessor::processResolveModel(const ZVTarvoResolverModel &model) {
  const ReplyHooks hooks = replyHooks(); // a copy: a hook may install new ones
  switch (model.type) {
  case kTarvoStatus:
    callHook(hooks.clearReceiveDataBlock);
    // The handler always cuts one status byte.
    if (!model.data.empty()) callHook(hooks.onStatus, static_cast<int64_t>(model.data[0] & 0x7F));
    break;
  case kTarvoPrintFinished:
    callHook(hooks.clearReceiveDataBlock);
    callHook(hooks.onPrintFinished, int64_t{0});
    break;
  case kTarvoFirmwareAck:
    callHook(hooks.clearReceiveDataBlock);
    if (resolverFirmwareBlock_) {
      // Copied first: the sender may remove itself (and this block) inside the call.
      const auto block = resolverFirmwareBlock_;
      block(model.data);
    }
    break;
  case kTarvoDisconnect:
    callHook(hooks.requestDisconnect);
    break;
  default:
    break;
  }
}
