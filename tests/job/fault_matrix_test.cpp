// Every fault the virtual printer can inject, for both module profiles: what
// the described API reports (ZVDataDispatcher on its own) and what the print
// job reports on the same fault.

#include "job/job_rig.h"

#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVPrintJob.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using Profile = ZVVirtualPrinterProfile;

/// Where a fault strikes: the printer, the central, the index of the job's
/// first data write (after the job's status query, if any) and the job's
/// write count.
struct Scene {
  zvtest::JobRig &rig;
  uint64_t firstWrite;
  uint64_t writes;
};
using Inject = std::function<void(Scene &)>;

/// What the described API reported for one send.
struct PartReport {
  int fails = 0;          ///< failure callback calls
  bool completed = false; ///< a (N, N) progress report arrived
  int printed = 0;        ///< print-complete callback calls
  int disconnects = 0;    ///< didDisconnect calls
  bool operator==(const PartReport &) const = default;
};

std::ostream &operator<<(std::ostream &out, const PartReport &r) {
  return out << "{fails " << r.fails << ", completed " << r.completed << ", printed " << r.printed
             << ", disconnects " << r.disconnects << "}";
}

struct Cell {
  const char *name;
  Inject beforeConnect; ///< may be empty
  Inject beforeSend;    ///< may be empty
  Inject halfway;       ///< when half the job's bytes have been reported sent; may be empty
  PartReport part[2];   ///< ISSC, IVT
  ZVJobFailure job[2];  ///< ISSC, IVT; None: printed
};

ZVData printData() {
  // 576 x 160 of gradients: about 60 writes of 127 bytes (ISSC), 30 of 244 (IVT).
  ZVData rgba(size_t{576} * 160 * 4, 255);
  for (size_t i = 0; i < rgba.size(); i += 4)
    rgba[i] = rgba[i + 1] = rgba[i + 2] = static_cast<uint8_t>((i / 4) % 576 * 255 / 576);
  return *ZVPrintImage::printData(*ZVImage::fromRGBA(576, 160, std::move(rgba)), 1);
}

uint64_t chunkSize(Profile profile) {
  return profile == Profile::ISSC ? 127 : 244;
}

// The described API alone: connect through the facade, writeData with
// progress and failure callbacks, listen for the print-complete callback.
PartReport runPart(Profile profile, const Cell &cell) {
  zvtest::JobRig rig(profile);
  const ZVData data = printData();
  Scene scene{rig, 0, (data.size() + chunkSize(profile) - 1) / chunkSize(profile)};
  if (cell.beforeConnect) cell.beforeConnect(scene);
  ZVRunLoop &loop = ZVRunLoop::main();
  const auto delegate = rig.connectThroughFacade();
  EXPECT_TRUE(delegate->connected);

  PartReport report;
  ZVDataDispatcher &dispatcher = ZVDataDispatcher::shared();
  dispatcher.imagePrintCompleteBlock([&](int64_t) { ++report.printed; });
  if (cell.beforeSend) cell.beforeSend(scene);
  bool halfwayDone = false;
  dispatcher.writeData(
      data,
      [&](const ZVProgress &p) {
        if (p.totalUnitCount > 0 && p.completedUnitCount == p.totalUnitCount)
          report.completed = true;
        if (cell.halfway && !halfwayDone && p.completedUnitCount * 2 >= p.totalUnitCount &&
            p.totalUnitCount > 0) {
          halfwayDone = true;
          cell.halfway(scene);
        }
      },
      [&] { ++report.fails; });
  loop.runFor(60);
  report.disconnects = delegate->disconnects;
  return report;
}

// The print job on the same fault.
ZVJobResult runJob(Profile profile, const Cell &cell, zvtest::JobRig &rig) {
  const ZVData data = printData();
  // The job's status query is the printer's first data write.
  Scene scene{rig, 1, (data.size() + chunkSize(profile) - 1) / chunkSize(profile)};
  if (cell.beforeConnect) cell.beforeConnect(scene);
  ZVPrintJob job(data);
  bool sending = false, halfwayDone = false;
  job.setProgressHandler([&](const ZVJobProgress &p) {
    if (p.phase == ZVJobPhase::Sending && !sending) {
      sending = true;
      if (cell.beforeSend) cell.beforeSend(scene);
    }
    if (p.phase == ZVJobPhase::Sending && cell.halfway && !halfwayDone && p.total > 0 &&
        p.completed * 2 >= p.total) {
      halfwayDone = true;
      cell.halfway(scene);
    }
  });
  return job.run();
}

const Cell kCells[] = {
    {"clean",
     {},
     {},
     {},
     {{0, true, 1, 0}, {0, true, 1, 0}},
     {ZVJobFailure::None, ZVJobFailure::None}},
    {"refused first write",
     {},
     [](Scene &s) { s.rig.printer->faults().rejectedWrites = {s.firstWrite}; },
     {},
     // ISSC: the failure callback, then nothing more is written (the credit
     // stays spent). IVT: an unacknowledged write cannot be refused visibly;
     // the module drops the chunk, the send completes, and the printer, whose
     // input arrived damaged, never reports the job printed.
     {{1, false, 0, 0}, {0, true, 0, 0}},
     {ZVJobFailure::WriteRefused, ZVJobFailure::NeverConfirmed}},
    {"refused middle write",
     {},
     [](Scene &s) { s.rig.printer->faults().rejectedWrites = {s.firstWrite + s.writes / 2}; },
     {},
     {{1, false, 0, 0}, {0, true, 0, 0}},
     {ZVJobFailure::WriteRefused, ZVJobFailure::NeverConfirmed}},
    {"refused last write",
     {},
     [](Scene &s) { s.rig.printer->faults().rejectedWrites = {s.firstWrite + s.writes - 1}; },
     {},
     // ISSC: the armed end-of-send timer still reports completion after the
     // failure, with the byte count the failure reset, so (0, 0).
     {{1, false, 0, 0}, {0, true, 0, 0}},
     {ZVJobFailure::WriteRefused, ZVJobFailure::NeverConfirmed}},
    {"lost acknowledgement",
     {},
     [](Scene &s) { s.rig.printer->faults().lostAcknowledgements = {s.firstWrite + s.writes / 2}; },
     // ISSC: the credit never comes back, the send stops for good. IVT
     // writes are not acknowledged: nothing to lose.
     {},
     {{0, false, 0, 0}, {0, true, 1, 0}},
     {ZVJobFailure::Stalled, ZVJobFailure::None}},
    {"credit grants never come",
     {},
     [](Scene &s) { s.rig.printer->faults().lostCreditGrants = 1000; },
     {},
     {{0, true, 1, 0}, {0, false, 0, 0}},
     {ZVJobFailure::None, ZVJobFailure::Stalled}},
    {"silent printer",
     {},
     [](Scene &s) { s.rig.printer->faults().silent = true; },
     {},
     {{0, true, 0, 0}, {0, false, 0, 0}},
     {ZVJobFailure::NeverConfirmed, ZVJobFailure::Stalled}},
    {"link dropped halfway",
     {},
     {},
     [](Scene &s) {
       s.rig.printer->faults().disconnectAfterBytes = s.rig.printer->statistics().bytesReceived + 1;
     },
     {{0, false, 0, 1}, {0, false, 0, 1}},
     {ZVJobFailure::LinkLost, ZVJobFailure::LinkLost}},
    {"Bluetooth switched off halfway",
     {},
     {},
     [](Scene &s) { s.rig.central->setPoweredOn(false); },
     {{0, false, 0, 1}, {0, false, 0, 1}},
     {ZVJobFailure::LinkLost, ZVJobFailure::LinkLost}},
    {"garbage before replies, replies cut in two",
     [](Scene &s) {
       s.rig.printer->faults().garbageBeforeReplies = {0x00, 0x41, 0x1B, 0xFF};
       s.rig.printer->faults().splitReplies = true;
     },
     {},
     {},
     {{0, true, 1, 0}, {0, true, 1, 0}},
     {ZVJobFailure::None, ZVJobFailure::None}},
    {"paper out",
     [](Scene &s) { s.rig.printer->faults().paperOut = true; },
     {},
     {},
     {{0, true, 0, 0}, {0, true, 0, 0}},
     {ZVJobFailure::PaperOut, ZVJobFailure::PaperOut}},
    {"paper runs out halfway",
     {},
     {},
     [](Scene &s) { s.rig.printer->faults().paperOut = true; },
     {{0, true, 1, 0}, {0, true, 1, 0}},
     {ZVJobFailure::PaperOut, ZVJobFailure::PaperOut}},
};

struct MatrixCase {
  size_t cell;
  Profile profile;
};

std::string caseName(const testing::TestParamInfo<MatrixCase> &info) {
  std::string name = kCells[info.param.cell].name;
  for (char &c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name + (info.param.profile == Profile::ISSC ? "_ISSC" : "_IVT");
}

std::vector<MatrixCase> allCases() {
  std::vector<MatrixCase> cases;
  for (size_t i = 0; i < std::size(kCells); ++i)
    for (Profile profile : {Profile::ISSC, Profile::IVT})
      cases.push_back({i, profile});
  return cases;
}

class FaultMatrix : public testing::TestWithParam<MatrixCase> {};

TEST_P(FaultMatrix, DescribedApi) {
  const Cell &cell = kCells[GetParam().cell];
  const int column = GetParam().profile == Profile::ISSC ? 0 : 1;
  EXPECT_EQ(runPart(GetParam().profile, cell), cell.part[column]);
}

TEST_P(FaultMatrix, PrintJob) {
  const Cell &cell = kCells[GetParam().cell];
  const int column = GetParam().profile == Profile::ISSC ? 0 : 1;
  zvtest::JobRig rig(GetParam().profile);
  const ZVJobResult result = runJob(GetParam().profile, cell, rig);
  const auto stats = rig.printer->statistics();
  EXPECT_EQ(result.failure, cell.job[column]) << result.reason;
  EXPECT_EQ(result.succeeded, cell.job[column] == ZVJobFailure::None);
  EXPECT_EQ(result.succeeded, result.reason.empty()) << result.reason;
  // Never a second copy, never "printed" without the whole job on paper.
  EXPECT_LE(stats.jobsFinished, 1u);
  EXPECT_LE(stats.rowsPrinted, 160u);
  if (result.succeeded) {
    EXPECT_EQ(stats.rowsPrinted, 160u);
    EXPECT_EQ(result.bytesSent, result.bytesTotal);
  }
  if (result.nothingSent) {
    EXPECT_EQ(stats.rowsPrinted, 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Cells, FaultMatrix, testing::ValuesIn(allCases()), caseName);

} // namespace
