#include "replies/reply_hooks.h"

#include <utility>

namespace zv::detail {
namespace {

ReplyHooks &hooks() {
  static ReplyHooks instance;
  return instance;
}

} // namespace

void setReplyHooks(ReplyHooks newHooks) {
  hooks() = std::move(newHooks);
}

const ReplyHooks &replyHooks() {
  return hooks();
}

} // namespace zv::detail
