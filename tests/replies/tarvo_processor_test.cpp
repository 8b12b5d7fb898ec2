#include <zvprinter/ZVTarvoDataProcessor.h>

#include "replies/reply_hooks.h"
#include "replies/reply_test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const std::string kStatus = std::string("tarvo_sta=") + '\x85';
const std::string kFinished = "dithering_finis!";
const std::string kAck = std::string("\x1B\x1C\x26\x10\x20\x30\x00\x50", 8);
const std::string kDisconnect = "Disconnect_B?";

struct Reply {
  uint64_t type;
  std::string data;
  std::string raw;
  int64_t cost;
  bool operator==(const Reply &) const = default;
};

std::vector<Reply> resolve(const std::string &stream, std::size_t pieceSize) {
  ZVTarvoResolver resolver;
  std::vector<Reply> replies;
  resolver.setResolvedBlock([&](const std::shared_ptr<ZVCommonResolveModel> &model) {
    const auto &reply = dynamic_cast<const ZVTarvoResolverModel &>(*model);
    EXPECT_FALSE(reply.key.has_value());
    replies.push_back(
        {reply.type, std::string(text(reply.data)), std::string(text(reply.rawData)), reply.cost});
  });
  for (std::size_t i = 0; i < stream.size(); i += pieceSize)
    resolver.readDeviceInput(bytes(std::string_view(stream).substr(i, pieceSize)));
  return replies;
}

/// Records every hook call and firmware acknowledgement, in order.
class ProcessorTest : public ::testing::Test {
protected:
  void SetUp() override {
    zv::detail::setReplyHooks({
        .clearReceiveDataBlock = [this] { events.push_back("clear"); },
        .onStatus =
            [this](int64_t status) { events.push_back("status " + std::to_string(status)); },
        .onPrintFinished =
            [this](int64_t arg) { events.push_back("finished " + std::to_string(arg)); },
        .requestDisconnect = [this] { events.push_back("disconnect"); },
    });
    processor.setResolverFirmwareBlock([this](const ZVData &ack) {
      events.push_back(ack.at(3) == 0 ? "ack accepted" : "ack rejected");
      EXPECT_EQ(ack.size(), 5u);
    });
  }
  void TearDown() override { zv::detail::setReplyHooks({}); }
  void feed(const std::string &data) { processor.doReadData(bytes(data)); }

  ZVTarvoDataProcessor processor;
  std::vector<std::string> events;
};

} // namespace

TEST(TarvoResolverTest, CutsEachReplyInAnyPieces) {
  const std::string stream = kAck + kStatus + kFinished + kDisconnect;
  const std::vector<Reply> expected{
      {2, kAck.substr(3), kAck, 8},
      {0, "\x85", kStatus, 11},
      {1, "!", kFinished, 16},
      {4, "?", kDisconnect, 13},
  };
  for (std::size_t piece = 1; piece <= stream.size(); ++piece)
    EXPECT_EQ(resolve(stream, piece), expected) << "pieces of " << piece;
}

TEST(TarvoResolverTest, UnexplainedBytesBecomeOneTypeThreeReplyBeforeTheNextReply) {
  const std::string garbage("\x00\x41", 2);
  EXPECT_EQ(resolve(garbage + kStatus + "tarvo", 64),
            (std::vector<Reply>{{3, garbage, garbage, 2}, {0, "\x85", kStatus, 11}}));
  // A broken prefix is garbage too, reported when the buffer empties.
  EXPECT_EQ(resolve("tarvo_stX", 64), (std::vector<Reply>{{3, "tarvo_stX", "tarvo_stX", 9}}));
}

TEST_F(ProcessorTest, StatusArrivingAloneOrSplitIsReportedWithoutItsTopBit) {
  feed(kStatus);
  EXPECT_THAT(events, ElementsAre("clear", "status 5"));

  events.clear();
  feed("tarvo_sta=");
  EXPECT_THAT(events, IsEmpty());
  feed("\x7F");
  EXPECT_THAT(events, ElementsAre("clear", "status 127"));
}

TEST_F(ProcessorTest, ActsOnEveryKindOfReply) {
  feed(std::string("\x00\x41", 2) + kFinished + kDisconnect + kAck);
  EXPECT_THAT(events, ElementsAre("clear", "finished 0", "disconnect", "clear", "ack accepted"));

  events.clear();
  std::string rejected = kAck;
  rejected[6] = 1;
  feed(rejected);
  EXPECT_THAT(events, ElementsAre("clear", "ack rejected"));
}

TEST_F(ProcessorTest, FirmwareBlockMayRemoveItselfWhileRunning) {
  auto owner = std::make_shared<std::vector<std::string>>(); // state held by the block
  processor.setResolverFirmwareBlock([this, owner](const ZVData &) {
    processor.setResolverFirmwareBlock({});
    owner->push_back("last ack");
    events.push_back(owner->back());
  });
  owner.reset();
  feed(kAck + kAck);
  EXPECT_THAT(events, ElementsAre("clear", "last ack", "clear"));
}

TEST(TarvoDataProcessorTest, UnsetHooksAndCallbacksAreSkipped) {
  zv::detail::setReplyHooks({});
  ZVTarvoDataProcessor processor;
  processor.doReadData(bytes(kStatus + kFinished + kAck + kDisconnect + "junk"));
  EXPECT_THAT(processor.resolver().cacheData(), IsEmpty());
}
