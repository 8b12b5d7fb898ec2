#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVTarvoDataProcessor.h>

#include "replies/tarvo_replies.h"

#include <memory>

using namespace zv::detail;

namespace {

void clearReceiveDataBlock(ZVDataDispatcher &dispatcher) {
  if (dispatcher.receiveDataBlock()) dispatcher.setReceiveDataBlock({});
}

} // namespace

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
  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  switch (model.type) {
  case kTarvoStatus:
    clearReceiveDataBlock(dispatcher);
    // The handler always cuts one status byte.
    if (const auto block = dispatcher.autoTarvoStateBlock(); block && !model.data.empty())
      block(static_cast<int64_t>(model.data[0] & 0x7F));
    break;
  case kTarvoPrintFinished:
    clearReceiveDataBlock(dispatcher);
    if (const auto block = dispatcher.printImageCompleteBlock()) block(0);
    break;
  case kTarvoFirmwareAck:
    clearReceiveDataBlock(dispatcher);
    if (resolverFirmwareBlock_) {
      // Copied first: the sender may remove itself (and this block) inside the call.
      const auto block = resolverFirmwareBlock_;
      block(model.data);
    }
    break;
  case kTarvoDisconnect:
    ZVConnectInterface::shared().disconnect();
    break;
  default:
    break;
  }
}
