#include <zvprinter/ZVCommonResolver.h>

#include "replies/reply_test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// A handler that takes a reply of @p length bytes.
ZVDataRouterBlock fixedReply(int64_t length, bool discardable = false) {
  ZVDataRouterBlock block;
  block.minDataLength = length;
  block.handleBlock = [length, discardable](std::span<const uint8_t> buffer) {
    auto model = std::make_shared<ZVCommonResolveModel>();
    model->rawData.assign(buffer.begin(), buffer.begin() + length);
    model->cost = length;
    model->isDiscardable = discardable;
    return model;
  };
  return block;
}

/// A resolver that records, in order, every reply and every unexplained run.
struct RecordingResolver {
  ZVCommonResolver resolver;
  std::vector<std::string> events;

  RecordingResolver() {
    resolver.setResolvedBlock([this](const std::shared_ptr<ZVCommonResolveModel> &model) {
      events.push_back("reply:" + std::string(text(model->rawData)));
    });
    resolver.setHandleFailBlock(
        [this](const ZVData &run) { events.push_back("fail:" + std::string(text(run))); });
  }
  void add(std::string_view prefix, ZVDataRouterBlock block) {
    resolver.router().registerHandle(bytes(prefix), std::move(block));
  }
  void feed(std::string_view data) { resolver.readDeviceInput(bytes(data)); }
};

} // namespace

TEST(DataRouterTest, ChoosesLatestHandlerOfLongestPrefixAndWaitsWhileTheWalkUsesTheBuffer) {
  ZVDataRouter router;
  router.registerHandle(bytes("AB"), fixedReply(3));
  router.registerHandle(bytes("ABC"), fixedReply(5));

  EXPECT_EQ(router.handle(bytes("ABD"))->minDataLength, 3);
  EXPECT_EQ(router.handle(bytes("ABCX"))->minDataLength, 5);
  EXPECT_EQ(router.handle(bytes("X")), nullptr);
  EXPECT_EQ(router.handle(bytes("AX")), nullptr);
  for (const auto *partial : {"", "A", "AB", "ABC"}) {
    const auto marker = router.handle(bytes(partial));
    ASSERT_NE(marker, nullptr) << partial;
    EXPECT_EQ(marker->minDataLength, std::numeric_limits<int64_t>::max()) << partial;
    EXPECT_FALSE(marker->handleBlock) << partial;
  }
  router.registerHandle(bytes("AB"), fixedReply(7)); // replaces the first AB handler
  EXPECT_EQ(router.handle(bytes("ABX"))->minDataLength, 7);
}

TEST(DataRouterTest, EmptyPrefixHandlerIsNeverReported) {
  RecordingResolver r;
  r.add("", fixedReply(1));
  r.feed("XY");
  EXPECT_THAT(r.events, ElementsAre("fail:XY"));
}

TEST(CommonResolverTest, CutsRepliesThatArriveWholeSplitOrAfterUnexplainedBytes) {
  RecordingResolver r;
  r.add("ABC", fixedReply(4));

  r.feed("ABCD");
  EXPECT_THAT(r.events, ElementsAre("reply:ABCD"));

  r.events.clear();
  r.feed("AB");
  r.feed("C");
  EXPECT_THAT(r.events, IsEmpty());
  EXPECT_EQ(r.resolver.cacheData(), bytes("ABC"));
  r.feed("DAB");
  EXPECT_THAT(r.events, ElementsAre("reply:ABCD"));
  EXPECT_EQ(r.resolver.cacheData(), bytes("AB"));

  r.events.clear();
  r.resolver.readDeviceInput(bytes("CDXABCDABCD"));
  EXPECT_THAT(r.events, ElementsAre("reply:ABCD", "fail:X", "reply:ABCD", "reply:ABCD"));
  EXPECT_THAT(r.resolver.cacheData(), IsEmpty());
}

TEST(CommonResolverTest, UnexplainedBytesWaitForTheReplyThatFollowsThem) {
  RecordingResolver r;
  r.add("ABC", fixedReply(4));
  // "AB" then "x" is no reply: its A and B join the run.
  r.feed("xxABxyAB");
  EXPECT_THAT(r.events, IsEmpty());
  EXPECT_EQ(r.resolver.handleFailData(), bytes("xxABxy"));
  EXPECT_EQ(r.resolver.cacheData(), bytes("AB"));
  r.feed("CD");
  EXPECT_THAT(r.events, ElementsAre("fail:xxABxy", "reply:ABCD"));
}

TEST(CommonResolverTest, ReportsGarbageAsOneRunWhenTheBufferEmpties) {
  RecordingResolver r;
  r.add("ABC", fixedReply(4));
  std::string garbage(200000, 'A');
  garbage += "ABxABZ";
  r.feed(garbage);
  ASSERT_EQ(r.events.size(), 1u);
  EXPECT_EQ(r.events[0], "fail:" + garbage);
  EXPECT_THAT(r.resolver.handleFailData(), IsEmpty());
}

TEST(CommonResolverTest, DiscardableRepliesAreConsumedSilently) {
  RecordingResolver r;
  r.add("AB", fixedReply(3, true));
  r.add("CD", fixedReply(3));
  r.feed("xABxCDy");
  EXPECT_THAT(r.events, ElementsAre("fail:x", "reply:CDy"));
}

TEST(CommonResolverTest, HandlerThatCannotDecideKeepsTheBytes) {
  RecordingResolver r;
  ZVDataRouterBlock block;
  block.minDataLength = 3;
  // Replies end with '!'.
  block.handleBlock = [](std::span<const uint8_t> buffer) -> std::shared_ptr<ZVCommonResolveModel> {
    const auto end = std::find(buffer.begin(), buffer.end(), '!');
    if (end == buffer.end()) return nullptr;
    auto model = std::make_shared<ZVCommonResolveModel>();
    model->rawData.assign(buffer.begin(), end + 1);
    model->cost = static_cast<int64_t>(model->rawData.size());
    return model;
  };
  r.add("AB", std::move(block));
  r.feed("ABxyz");
  EXPECT_THAT(r.events, IsEmpty());
  r.feed("w!AB");
  EXPECT_THAT(r.events, ElementsAre("reply:ABxyzw!"));
  EXPECT_EQ(r.resolver.cacheData(), bytes("AB"));
}

TEST(CommonResolverTest, CostIsKeptWithinTheBuffer) {
  RecordingResolver r;
  const auto withCost = [](int64_t cost) {
    ZVDataRouterBlock block{.minDataLength = 2, .handleBlock = {}};
    block.handleBlock = [cost](std::span<const uint8_t> buffer) {
      auto model = std::make_shared<ZVCommonResolveModel>();
      model->rawData.assign(buffer.begin(), buffer.begin() + 2);
      model->cost = cost;
      return model;
    };
    return block;
  };
  r.add("Z", withCost(0)); // takes one byte instead of spinning
  r.add("G", withCost(1000));
  r.feed("ZZxGabc");
  EXPECT_THAT(r.events, ElementsAre("reply:ZZ", "reply:Zx", "fail:x", "reply:Ga"));
  EXPECT_THAT(r.resolver.cacheData(), IsEmpty());
}

TEST(CommonResolverTest, CallbacksMayFeedTheResolverAgain) {
  RecordingResolver r;
  r.add("ABC", fixedReply(4));
  bool fedAgain = false;
  r.resolver.setResolvedBlock([&](const std::shared_ptr<ZVCommonResolveModel> &model) {
    r.events.push_back("reply:" + std::string(text(model->rawData)));
    if (!fedAgain) {
      fedAgain = true;
      r.feed("ABCExA");
    }
  });
  r.feed("ABCD");
  r.feed("BCF");
  EXPECT_THAT(r.events, ElementsAre("reply:ABCD", "reply:ABCE", "fail:x", "reply:ABCF"));
  EXPECT_THAT(r.resolver.cacheData(), IsEmpty());
}
