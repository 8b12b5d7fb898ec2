#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVTarvoDataProcessor.h>

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

using Reply = std::pair<uint64_t, std::string>; ///< type and payload

std::vector<Reply> resolve(const std::string &stream, std::size_t pieceSize) {
  ZVTarvoResolver resolver;
  std::vector<Reply> replies;
  resolver.setResolvedBlock([&](const std::shared_ptr<ZVCommonResolveModel> &model) {
    const auto &reply = dynamic_cast<const ZVTarvoResolverModel &>(*model);
    replies.emplace_back(reply.type, text(reply.data));
  });
  for (std::size_t i = 0; i < stream.size(); i += pieceSize)
    resolver.readDeviceInput(bytes(std::string_view(stream).substr(i, pieceSize)));
  return replies;
}

/// Records every dispatcher callback and firmware acknowledgement, in order,
/// each preceded by "clear" when the receive callback was cleared first.
class ProcessorTest : public ::testing::Test {
protected:
  void SetUp() override {
    dispatcher.setAutoTarvoStateBlock(
        [this](int64_t status) { record("status " + std::to_string(status)); });
    dispatcher.setPrintImageCompleteBlock(
        [this](int64_t arg) { record("finished " + std::to_string(arg)); });
    processor.setResolverFirmwareBlock([this](const ZVData &ack) {
      EXPECT_EQ(ack.size(), 5u);
      record(ack.at(3) == 0 ? "ack accepted" : "ack rejected");
    });
  }
  void TearDown() override {
    dispatcher.setAutoTarvoStateBlock({});
    dispatcher.setPrintImageCompleteBlock({});
    dispatcher.setReceiveDataBlock({});
  }
  void armReceiveBlock() {
    dispatcher.setReceiveDataBlock([](const ZVData &) {});
  }
  void record(const std::string &event) {
    if (!dispatcher.receiveDataBlock()) events.push_back("clear");
    events.push_back(event);
    armReceiveBlock();
  }
  void feed(const std::string &data) {
    armReceiveBlock();
    processor.doReadData(bytes(data));
  }

  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  ZVTarvoDataProcessor processor;
  std::vector<std::string> events;
};

} // namespace

TEST(TarvoResolverTest, CutsEachReplyInAnyPieces) {
  const std::string stream = kAck + kStatus + kFinished + kDisconnect;
  const std::vector<Reply> expected{{2, kAck.substr(3)}, {0, "\x85"}, {1, "!"}, {4, "?"}};
  for (std::size_t piece = 1; piece <= stream.size(); ++piece)
    EXPECT_EQ(resolve(stream, piece), expected) << "pieces of " << piece;
}

TEST_F(ProcessorTest, ActsOnEveryKindOfReplyWholeOrSplit) {
  std::string rejected = kAck;
  rejected[6] = 1;
  for (const auto &piece : {kStatus, std::string("tarvo_sta="), std::string("\x7F"),
                            std::string("\x00\x41", 2) + kFinished + kDisconnect + kAck, rejected})
    feed(piece);
  // Statuses lose their top bit; the garbage is ignored; the disconnect
  // request finds no printer connected here (the link tests cover it).
  EXPECT_THAT(events, ElementsAre("clear", "status 5", "clear", "status 127", "clear", "finished 0",
                                  "clear", "ack accepted", "clear", "ack rejected"));
}

TEST_F(ProcessorTest, FirmwareBlockMayRemoveItselfWhileRunning) {
  auto owner = std::make_shared<std::vector<std::string>>(); // state held by the block
  processor.setResolverFirmwareBlock([this, owner](const ZVData &) {
    processor.setResolverFirmwareBlock({});
    owner->push_back("last ack");
    record(owner->back());
  });
  owner.reset();
  feed(kAck + kAck);
  EXPECT_THAT(events, ElementsAre("clear", "last ack"));
  EXPECT_FALSE(dispatcher.receiveDataBlock()); // the second acknowledgement still clears it
}

TEST(TarvoDataProcessorTest, UnsetCallbacksAreSkipped) {
  ZVTarvoDataProcessor processor;
  processor.doReadData(bytes(kStatus + kFinished + kAck + kDisconnect + "junk"));
  EXPECT_THAT(processor.resolver().cacheData(), IsEmpty());
}
