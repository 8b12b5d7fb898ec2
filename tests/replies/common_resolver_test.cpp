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

/// A handler that takes a reply of @p length bytes and claims @p cost.
ZVDataRouterBlock fixedReply(int64_t length, int64_t cost = -1, bool discardable = false) {
  ZVDataRouterBlock block;
  block.minDataLength = length;
  block.handleBlock = [length, cost, discardable](std::span<const uint8_t> buffer) {
    auto model = std::make_shared<ZVCommonResolveModel>();
    model->rawData.assign(buffer.begin(), buffer.begin() + length);
    model->cost = cost < 0 ? length : cost;
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

/// Replies end with '!': undecided until it arrives.
ZVDataRouterBlock untilBang() {
  ZVDataRouterBlock block{.minDataLength = 3, .handleBlock = {}};
  block.handleBlock = [](std::span<const uint8_t> buffer) -> std::shared_ptr<ZVCommonResolveModel> {
    const auto end = std::find(buffer.begin(), buffer.end(), '!');
    if (end == buffer.end()) return nullptr;
    auto model = std::make_shared<ZVCommonResolveModel>();
    model->rawData.assign(buffer.begin(), end + 1);
    model->cost = static_cast<int64_t>(model->rawData.size());
    return model;
  };
  return block;
}

TEST(CommonResolverTest, CutsRepliesAndUnexplainedRunsFromPieces) {
  struct Case {
    std::vector<std::pair<std::string, ZVDataRouterBlock>> handlers;
    std::vector<std::string> pieces;
    std::vector<std::string> events;
    std::string left; ///< still buffered at the end
  };
  const auto abc = [] { return std::vector{std::pair{std::string("ABC"), fixedReply(4)}}; };
  const std::vector<Case> cases{
      {abc(), {"ABCD"}, {"reply:ABCD"}, ""},
      {abc(), {"AB", "C", "DAB"}, {"reply:ABCD"}, "AB"},
      {abc(), {"AB", "CDXABCDABCD"}, {"reply:ABCD", "fail:X", "reply:ABCD", "reply:ABCD"}, ""},
      // "AB" then "x" is no reply: its A and B join the run, which waits for
      // the reply after it.
      {abc(), {"xxABxyAB", "CD"}, {"fail:xxABxy", "reply:ABCD"}, ""},
      {abc(),
       {std::string(200000, 'A') + "ABxABZ"},
       {"fail:" + std::string(200000, 'A') + "ABxABZ"},
       ""},
      // An empty prefix matches nothing.
      {{{"", fixedReply(1)}}, {"XY"}, {"fail:XY"}, ""},
      // Discardable replies are consumed silently.
      {{{"AB", fixedReply(3, 3, true)}, {"CD", fixedReply(3)}},
       {"xABxCDy"},
       {"fail:x", "reply:CDy"},
       ""},
      // A cost of 0 takes one byte instead of spinning; a huge one stops at the end.
      {{{"Z", fixedReply(2, 0)}, {"G", fixedReply(2, 1000)}},
       {"ZZxGabc"},
       {"reply:ZZ", "reply:Zx", "fail:x", "reply:Ga"},
       ""},
      // A handler that cannot decide yet keeps the bytes.
      {{{"AB", untilBang()}}, {"ABxyz", "w!AB"}, {"reply:ABxyzw!"}, "AB"}};
  for (const auto &c : cases) {
    RecordingResolver r;
    for (const auto &[prefix, block] : c.handlers)
      r.add(prefix, block);
    for (const auto &piece : c.pieces)
      r.feed(piece);
    EXPECT_EQ(r.events, c.events) << c.pieces[0].substr(0, 20);
    EXPECT_EQ(r.resolver.cacheData(), bytes(c.left)) << c.pieces[0].substr(0, 20);
  }
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
