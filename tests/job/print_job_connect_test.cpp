// How a print job finds and connects its printer, and the failures before
// anything is sent.

#include "job/job_rig.h"

#include <zvprinter/ZVPrintJob.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

namespace {

const ZVData kJob = [] {
  ZVData rgba(size_t{64} * 32 * 4, 0);
  return *ZVPrintImage::printData(*ZVImage::fromRGBA(64, 32, std::move(rgba)), 0);
}();

struct ConnectCase {
  const char *name;
  std::function<void(zvtest::JobRig &)> setUp;
  ZVPrinterTarget target;
  ZVJobFailure failure;
  int attempts;
  const char *reason; ///< expected start of the reason
};

TEST(PrintJobConnect, FindsConnectsOrSaysWhyNot) {
  const ConnectCase cases[] = {
      {"by name, any case", {}, ZVPrinterTarget::named("zv-p"), ZVJobFailure::None, 1, ""},
      {"unknown name",
       {},
       ZVPrinterTarget::named("other"),
       ZVJobFailure::NotFound,
       0,
       "no printer named \"other\" found within 10 s"},
      {"refused every time",
       [](zvtest::JobRig &rig) { rig.printer->faults().refuseConnection = true; },
       ZVPrinterTarget::any(), ZVJobFailure::ConnectFailed, 3,
       "could not connect to ZV-P1 (3 attempts): the printer did not accept the connection"},
      {"never answers the connection",
       [](zvtest::JobRig &rig) { rig.printer->faults().ignoreConnection = true; },
       ZVPrinterTarget::any(), ZVJobFailure::ConnectFailed, 3, "could not connect to ZV-P1"},
      {"Bluetooth off", [](zvtest::JobRig &rig) { rig.central->setPoweredOn(false); },
       ZVPrinterTarget::any(), ZVJobFailure::BluetoothOff, 0, "Bluetooth is switched off"},
  };
  for (const ConnectCase &c : cases) {
    SCOPED_TRACE(c.name);
    // Every case in a process of its own: the library's singletons start fresh.
    EXPECT_EXIT(
        {
          zvtest::JobRig rig;
          if (c.setUp) c.setUp(rig);
          ZVPrintJobOptions options;
          options.printer = c.target;
          const ZVJobResult result = ZVPrintJob(kJob, options).run();
          const bool ok = result.failure == c.failure && result.attempts == c.attempts &&
                          result.reason.rfind(c.reason, 0) == 0 &&
                          (result.failure == ZVJobFailure::None) != result.nothingSent;
          if (!ok)
            std::fprintf(stderr, "got %s after %d attempts: %s\n", ZVJobFailureName(result.failure),
                         result.attempts, result.reason.c_str());
          std::exit(ok ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
  }
}

TEST(PrintJobConnect, RetriesUntilThePrinterAccepts) {
  zvtest::JobRig rig;
  rig.printer->faults().refuseConnection = true;
  ZVPrintJob job(kJob);
  job.setProgressHandler([&](const ZVJobProgress &p) {
    if (p.phase == ZVJobPhase::Connecting && p.attempt == 2)
      rig.printer->faults().refuseConnection = false;
  });
  const ZVJobResult result = job.run();
  EXPECT_TRUE(result.succeeded) << result.reason;
  EXPECT_EQ(result.attempts, 2);
  EXPECT_EQ(rig.printer->statistics().jobsFinished, 1u);
}

TEST(PrintJobConnect, PrinterClosingTheLinkMidJobIsALostLink) {
  zvtest::JobRig rig;
  ZVPrintJob job(ZVData(kJob.begin(), kJob.end()));
  job.setProgressHandler([&](const ZVJobProgress &p) {
    if (p.phase == ZVJobPhase::Sending) rig.printer->requestDisconnect();
  });
  const ZVJobResult result = job.run();
  EXPECT_EQ(result.failure, ZVJobFailure::LinkLost);
  EXPECT_EQ(result.reason.rfind("the printer closed the connection", 0), 0u) << result.reason;
}

TEST(PrintJobConnect, CancelBeforeConnectingSendsNothing) {
  zvtest::JobRig rig;
  ZVPrintJob job(kJob);
  std::optional<ZVJobResult> outcome;
  job.start([&](const ZVJobResult &r) { outcome = r; });
  job.cancel();
  ZVRunLoop::main().runUntil([&] { return outcome.has_value(); }, 60);
  ASSERT_TRUE(outcome);
  EXPECT_EQ(outcome->failure, ZVJobFailure::Cancelled);
  EXPECT_TRUE(outcome->nothingSent);
  EXPECT_EQ(rig.printer->statistics().bytesReceived, 0u);
}

TEST(PrintJobConnect, EmptyJobIsRefusedBeforeConnecting) {
  zvtest::JobRig rig;
  const ZVJobResult result = ZVPrintJob(ZVData{}).run();
  EXPECT_EQ(result.failure, ZVJobFailure::InvalidJob);
  EXPECT_FALSE(rig.printer->isConnected());
}

} // namespace

namespace {

TEST(PrintJobConnect, ClosesOnlyTheLinkItOpened) {
  for (const bool borrowed : {false, true}) {
    EXPECT_EXIT(
        {
          zvtest::JobRig rig;
          if (borrowed && !rig.connectThroughFacade()->connected) std::exit(2);
          const ZVJobResult result = ZVPrintJob(kJob).run();
          ZVRunLoop::main().runFor(1);
          const bool stillConnected = ZVConnectInterface::shared().isConnected();
          std::exit(result.succeeded && stillConnected == borrowed ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << (borrowed ? "borrowed" : "opened by the job");
  }
}

} // namespace
