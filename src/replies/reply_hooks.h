// What the reply processor and the cache manager tell the rest of the library.
//
// The data dispatcher and the connection facade install these hooks (once,
// before the first notification arrives, on the thread that delivers
// notifications). Until they do, every hook is empty and skipped, as an unset
// callback is.
#pragma once

#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <functional>
#include <utility>

namespace zv::detail {

struct ReplyHooks {
  /// Clears the dispatcher's receiveDataBlock if one is set.
  std::function<void()> clearReceiveDataBlock;
  /// Calls the dispatcher's autoTarvoStateBlock, if set, with the status 0..127.
  std::function<void(int64_t status)> onStatus;
  /// Calls the dispatcher's printImageCompleteBlock, if set; always given 0.
  std::function<void(int64_t)> onPrintFinished;
  /// Asks the shared connection facade to disconnect.
  std::function<void()> requestDisconnect;
  /// Gives one value received from the printer to the dispatcher: its
  /// resolver's readDeviceInput() first, then its receiveDataBlock.
  std::function<void(const ZVData &value)> deliverToDispatcher;
};

/// Replaces the process-wide hooks.
void setReplyHooks(ReplyHooks hooks);
/// The process-wide hooks.
const ReplyHooks &replyHooks();

/// Calls @p hook with @p args when it is set.
template <typename Hook, typename... Args> void callHook(const Hook &hook, Args &&...args) {
  if (hook) hook(std::forward<Args>(args)...);
}

} // namespace zv::detail
