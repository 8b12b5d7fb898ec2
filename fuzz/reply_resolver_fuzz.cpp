// Feeds arbitrary bytes, in arbitrary pieces, to the printer's reply resolver
// and to a reply processor, and checks that every byte is accounted for: the
// replies (unexplained runs included) followed by what is still buffered are
// exactly the bytes fed, in order, and each reply is what its bytes say.
//
// Input: one byte that seeds the piece sizes, then the byte stream.
#include <zvprinter/ZVTarvoDataProcessor.h>

#include "replies/tarvo_replies.h"

#include <zvprinter/ZVDataDispatcher.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace {

using namespace zv::detail;

constexpr std::size_t kMaxInput = 4096;

void check(bool ok, const char *what) {
  if (ok) return;
  std::fprintf(stderr, "reply resolver invariant broken: %s\n", what);
  std::abort();
}

/// Piece sizes 0 to 16 from a xorshift generator seeded by one byte.
class PieceSizes {
public:
  explicit PieceSizes(uint8_t seed) : state_(seed * 2654435761u | 1u) {}
  std::size_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return state_ % 17;
  }

private:
  uint32_t state_;
};

bool beginsWith(std::span<const uint8_t> bytes, std::string_view prefix) {
  const auto expected = asBytes(prefix);
  const std::size_t n = std::min(bytes.size(), expected.size());
  return std::equal(expected.begin(), expected.begin() + n, bytes.begin());
}

bool replyStartsAt(std::span<const uint8_t> stream, std::size_t at) {
  return std::any_of(kTarvoReplies.begin(), kTarvoReplies.end(), [&](const auto &format) {
    return stream.size() - at >= format.prefix.size() &&
           beginsWith(stream.subspan(at), format.prefix);
  });
}

/// What can stay buffered: the start of a reply that is not complete yet.
bool couldBecomeReply(const ZVData &pending) {
  return pending.empty() ||
         std::any_of(kTarvoReplies.begin(), kTarvoReplies.end(), [&](const auto &format) {
           return pending.size() < static_cast<std::size_t>(format.length) &&
                  beginsWith(pending, format.prefix);
         });
}

void checkReply(const ZVTarvoResolverModel &reply, std::span<const uint8_t> stream,
                std::size_t at) {
  check(reply.cost > 0 && static_cast<std::size_t>(reply.cost) == reply.rawData.size(),
        "cost is the length of the reply");
  check(at + reply.rawData.size() <= stream.size() &&
            std::equal(reply.rawData.begin(), reply.rawData.end(), stream.begin() + at),
        "replies follow the stream");
  check(!reply.key.has_value() && !reply.isDiscardable, "no key, never discardable");
  if (reply.type == kTarvoUnresolved) {
    check(reply.data == reply.rawData, "a run is its own payload");
    for (std::size_t i = 0; i < reply.rawData.size(); ++i)
      check(!replyStartsAt(stream, at + i), "no reply starts inside a run");
    return;
  }
  const auto format = std::find_if(kTarvoReplies.begin(), kTarvoReplies.end(),
                                   [&](const auto &f) { return f.type == reply.type; });
  check(format != kTarvoReplies.end(), "known type");
  check(reply.cost == format->length && beginsWith(reply.rawData, format->prefix),
        "whole reply with its prefix");
  check(std::equal(reply.data.begin(), reply.data.end(),
                   reply.rawData.begin() + static_cast<std::ptrdiff_t>(format->prefix.size()),
                   reply.rawData.end()),
        "payload follows the prefix");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
  if (size == 0 || size > kMaxInput) return 0;
  PieceSizes pieces(data[0]);
  const std::span<const uint8_t> stream(data + 1, size - 1);

  ZVTarvoResolver resolver;
  ZVData replied; // the raw bytes of every reply, in order
  std::size_t statuses = 0;
  resolver.setResolvedBlock([&](const std::shared_ptr<ZVCommonResolveModel> &model) {
    const auto *reply = dynamic_cast<const ZVTarvoResolverModel *>(model.get());
    check(reply != nullptr, "printer replies are ZVTarvoResolverModel");
    checkReply(*reply, stream, replied.size());
    replied.insert(replied.end(), reply->rawData.begin(), reply->rawData.end());
    statuses += reply->type == kTarvoStatus ? 1 : 0;
  });

  // The processor sees the same pieces; its status reports must match.
  ZVTarvoDataProcessor processor;
  std::size_t processorStatuses = 0;
  // A receive callback armed before every piece must be gone by the time a
  // recognised reply is reported.
  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  const auto cleared = [&dispatcher] { return !dispatcher.receiveDataBlock(); };
  dispatcher.setAutoTarvoStateBlock([&](int64_t status) {
    check(cleared() && status >= 0 && status <= 0x7F, "status after clearing, top bit cleared");
    ++processorStatuses;
  });
  dispatcher.setPrintImageCompleteBlock(
      [&](int64_t arg) { check(cleared() && arg == 0, "print finished after clearing, with 0"); });
  processor.setResolverFirmwareBlock([&](const ZVData &ack) {
    check(cleared() && ack.size() == 5, "acknowledgement after clearing, 5 bytes");
  });

  std::size_t fed = 0;
  while (fed < stream.size()) {
    const std::size_t n = std::min(pieces.next(), stream.size() - fed);
    const ZVData piece(stream.begin() + static_cast<std::ptrdiff_t>(fed),
                       stream.begin() + static_cast<std::ptrdiff_t>(fed + n));
    resolver.readDeviceInput(piece);
    dispatcher.setReceiveDataBlock([](const ZVData &) {});
    processor.doReadData(piece);
    fed += n;

    const ZVData pending = resolver.cacheData();
    const ZVData &unreported = resolver.handleFailData();
    check(replied.size() + unreported.size() + pending.size() == fed,
          "every byte fed is consumed or buffered");
    ZVData all = replied;
    all.insert(all.end(), unreported.begin(), unreported.end());
    all.insert(all.end(), pending.begin(), pending.end());
    check(std::equal(all.begin(), all.end(), stream.begin()), "nothing is reordered");
    check(unreported.empty() || !pending.empty(), "a run is reported once the buffer empties");
    check(couldBecomeReply(pending), "only an incomplete reply stays buffered");
  }
  check(statuses == processorStatuses, "the processor reports every status");
  dispatcher.setAutoTarvoStateBlock({});
  dispatcher.setPrintImageCompleteBlock({});
  dispatcher.setReceiveDataBlock({});
  return 0;
}
