#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVFirmwareDispatcher.h>
#include <zvprinter/ZVRunLoop.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A sender that writes nothing (type 1) in front of a facade that says
// connected: the acknowledgement and timer logic alone.
struct Transfer {
  explicit Transfer(size_t slices) {
    ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
    ZVConnectInterface::shared().setIsConnected(true);
    std::vector<ZVFirmwareSlice> list;
    for (size_t i = 0; i < slices; ++i)
      list.push_back({static_cast<uint32_t>(i * 2016), ZVData{1, 2, 3}});
    sender->setType(1);
    sender->setTotalPackCount(list.size());
    sender->setSlices(std::move(list));
    sender->setSendProgressBlock([this](const ZVProgress &p) {
      events.push_back("progress " + std::to_string(p.completedUnitCount) + "/" +
                       std::to_string(p.totalUnitCount));
    });
    sender->setSendFailedBlock([this] { events.push_back("failed"); });
  }
  ~Transfer() {
    // A transfer still in flight keeps its timer; it must not report here.
    sender->setSendProgressBlock({});
    sender->setSendFailedBlock({});
    if (sender->timer()) sender->timer()->invalidate();
    sender->setTimer(nullptr); // the pending timer holds the sender
  }
  void step(char event) {
    switch (event) {
    case 'a':
      sender->readSliceAck({0, 0, 0, 0, 0});
      break; // accepted
    case 'r':
      sender->readSliceAck({0, 0, 0, 4, 0});
      break; // rejected
    case 's':
      sender->readSliceAck({0x1B, 0x1C, 0});
      break; // too short: rejected
    case 't':
      ZVRunLoop::main().runFor(ZVFirmwareDispatcher::kAckTimeout);
      break; // silence
    }
  }

  std::shared_ptr<ZVFirmwareDispatcher> sender = std::make_shared<ZVFirmwareDispatcher>();
  std::vector<std::string> events;
};

TEST(FirmwareDispatcher, RepeatsAreSharedByRejectionsAndSilenceAndResetPerSlice) {
  struct Case {
    const char *steps;
    std::vector<std::string> events;
  };
  const Case cases[] = {
      {"a", {"progress 0/2", "progress 1/2"}},
      {"aa", {"progress 0/2", "progress 1/2", "progress 2/2"}},
      // Five repeats of a slice are allowed, the sixth failure ends it.
      {"rrrrra", {"progress 0/2", "progress 1/2"}},
      {"rrtrtr", {"progress 0/2", "failed"}},
      {"ttttts", {"progress 0/2", "failed"}},
      // Two rejections of slice 1 and four silences of slice 2 do not add up.
      {"rratttt", {"progress 0/2", "progress 1/2"}},
      {"rrattttra", {"progress 0/2", "progress 1/2", "progress 2/2"}},
      // After the failure, acknowledgements and time-outs change nothing.
      {"rrrrrrat", {"progress 0/2", "failed"}},
      // After completion too.
      {"aaat", {"progress 0/2", "progress 1/2", "progress 2/2"}},
  };
  for (const Case &c : cases) {
    Transfer transfer(2);
    transfer.sender->start();
    for (const char *p = c.steps; *p; ++p)
      transfer.step(*p);
    EXPECT_EQ(transfer.events, c.events) << c.steps;
  }
}

TEST(FirmwareDispatcher, UnsendableTransfersFailOnceInsteadOfStalling) {
  for (const bool emptyFrame : {false, true}) {
    Transfer transfer(emptyFrame ? 2 : 0);
    if (emptyFrame) {
      auto slices = transfer.sender->slices();
      slices[1].data.clear();
      transfer.sender->setSlices(slices);
    }
    transfer.sender->start();
    EXPECT_TRUE(transfer.events.empty()); // reported from the main queue, not inside start()
    ZVRunLoop::main().runFor(60);
    EXPECT_EQ(transfer.events, std::vector<std::string>{"failed"}) << emptyFrame;
  }
}

TEST(FirmwareDispatcher, WithoutConnectionNothingIsSentAndNothingReported) {
  Transfer transfer(1);
  ZVConnectInterface::shared().setIsConnected(false);
  transfer.sender->start();
  EXPECT_EQ(transfer.sender->timer(), nullptr);
  ZVRunLoop::main().runFor(60);
  transfer.sender->readSliceAck({0, 0, 0, 0, 0});
  EXPECT_EQ(transfer.events, std::vector<std::string>{"progress 0/1"});
}

} // namespace
