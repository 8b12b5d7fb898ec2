// Firmware faults for both module profiles: what the described API reports
// (ZVDataDispatcher::writeFirmwareData) and what the firmware job reports.

#include "job/job_rig.h"

#include <zvprinter/ZVDataDispatcher.h>
#include <zvprinter/ZVFirmwareJob.h>
#include <zvprinter/ZVPackProtocol.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Profile = ZVVirtualPrinterProfile;

ZVData firmwareImage() {
  ZVData image(5000);
  for (size_t i = 0; i < image.size(); ++i)
    image[i] = static_cast<uint8_t>(i * 31 + 7);
  return image; // three frames: 2016, 2016 and 968 bytes
}

struct FirmwareCell {
  const char *name;
  uint64_t rejections; ///< frames refused before the fault clears
  uint64_t silences;   ///< frames left unanswered before the fault clears
  bool completes;
  /// Seconds from the first send to the failure report (virtual clock).
  std::optional<double> failsAfter;
};

const FirmwareCell kCells[] = {
    {"accepted", 0, 0, true, std::nullopt},
    {"refused five times then accepted", 5, 0, true, std::nullopt},
    {"refused six times", 6, 0, false, std::nullopt},
    {"never answered", 0, 1000, false, 42.0},
};

struct Case {
  size_t cell;
  Profile profile;
};

std::string caseName(const testing::TestParamInfo<Case> &info) {
  std::string name = kCells[info.param.cell].name;
  for (char &c : name)
    if (c == ' ') c = '_';
  return name + (info.param.profile == Profile::ISSC ? "_ISSC" : "_IVT");
}

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (size_t i = 0; i < std::size(kCells); ++i)
    for (Profile profile : {Profile::ISSC, Profile::IVT})
      cases.push_back({i, profile});
  return cases;
}

class FirmwareMatrix : public testing::TestWithParam<Case> {};

TEST_P(FirmwareMatrix, DescribedApi) {
  const FirmwareCell &cell = kCells[GetParam().cell];
  zvtest::JobRig rig(GetParam().profile);
  ASSERT_TRUE(rig.connectThroughFacade()->connected);
  rig.printer->faults().firmwareRejections = cell.rejections;
  rig.printer->faults().firmwareSilences = cell.silences;

  std::vector<int64_t> completed;
  std::vector<double> failures;
  const double started = ZVRunLoop::main().now();
  ZVDataDispatcher::shared().writeFirmwareData(
      ZVPackProtocol::generateFirmwarePacksWithData(firmwareImage()),
      [&](const ZVProgress &p) { completed.push_back(p.completedUnitCount); },
      [&] { failures.push_back(ZVRunLoop::main().now() - started); });
  ZVRunLoop::main().runFor(120);

  if (cell.completes) {
    EXPECT_EQ(completed, (std::vector<int64_t>{0, 1, 2, 3}));
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(rig.printer->firmwareImage(), firmwareImage());
  } else {
    EXPECT_EQ(completed, (std::vector<int64_t>{0})); // the first frame never got through
    ASSERT_EQ(failures.size(), 1u);
    // Six sends of the first frame; the printer's answers arrive within a
    // few connection events of each send.
    if (cell.failsAfter) {
      EXPECT_NEAR(failures[0], *cell.failsAfter, 0.2);
    }
    EXPECT_EQ(rig.printer->statistics().firmwareFramesAccepted, 0u);
  }
}

TEST_P(FirmwareMatrix, FirmwareJob) {
  const FirmwareCell &cell = kCells[GetParam().cell];
  zvtest::JobRig rig(GetParam().profile);
  rig.printer->faults().firmwareRejections = cell.rejections;
  rig.printer->faults().firmwareSilences = cell.silences;
  ZVFirmwareJob job = ZVFirmwareJob::forImage(firmwareImage());
  const ZVJobResult result = job.run();
  EXPECT_EQ(result.succeeded, cell.completes) << result.reason;
  EXPECT_EQ(result.bytesTotal, 3u);
  if (cell.completes) {
    EXPECT_EQ(result.bytesSent, 3u);
    EXPECT_EQ(rig.printer->firmwareImage(), firmwareImage());
  } else {
    EXPECT_EQ(result.failure, ZVJobFailure::FirmwareRejected);
    EXPECT_EQ(result.bytesSent, 0u);
    EXPECT_EQ(result.reason, "frame 1 of 3 was not accepted after 6 sends");
    // Nothing is sent once the outcome is out.
    const uint64_t writes = rig.printer->statistics().writes;
    ZVRunLoop::main().runFor(60);
    EXPECT_EQ(rig.printer->statistics().writes, writes);
  }
}

INSTANTIATE_TEST_SUITE_P(Cells, FirmwareMatrix, testing::ValuesIn(allCases()), caseName);

ZVData bytesOf(std::string_view text) {
  return ZVData(text.begin(), text.end());
}

TEST(FirmwareJob, RefusesWhatIsPlainlyNotFirmwareBeforeConnecting) {
  ZVData tar(600, 0);
  std::copy_n("ustar", 5, tar.begin() + 257);
  const ZVData bmp{'B', 'M', 10, 0, 0, 0, 0, 0, 0, 0}; // its header gives its size
  struct Case {
    const char *name;
    ZVData image;
    const char *reason; // nullptr: nothing speaks against it
  };
  const Case cases[] = {
      {"empty", {}, "the file is empty"},
      {"png", bytesOf("\x89PNG\r\n\x1A\n\0\0\0\rIHDR"), "a PNG image"},
      {"jpeg", bytesOf("\xFF\xD8\xFF\xE0\0\x10JFIF"), "a JPEG image"},
      {"zip", bytesOf("PK\x03\x04\x14\0\0\0"), "a ZIP archive"},
      {"gzip", bytesOf("\x1F\x8B\x08\0"), "a gzip archive"},
      {"tar", tar, "a tar archive"},
      {"bmp sized", bmp, "a BMP image"},
      {"ascii text", bytesOf("release notes\n\tfixed paper feed\r\n"), "text"},
      {"utf-8 text", bytesOf("固件说明 — version 2\n"), "text"},
      {"binary", firmwareImage(), nullptr},
      {"BM without its size", bytesOf("BM\x01\x02\x03\x04\0\xFF"), nullptr},
      {"text with a NUL", bytesOf(std::string_view("abc\0def", 7)), nullptr},
      {"cut UTF-8", bytesOf("abc\xE5\x9B"), nullptr},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    const auto refused = ZVFirmwareJob::refusal(c.image);
    ASSERT_EQ(refused.has_value(), c.reason != nullptr) << refused.value_or("");
    if (!c.reason) continue;
    EXPECT_NE(refused->find(c.reason), std::string::npos) << *refused;
    zvtest::JobRig rig;
    const ZVJobResult result = ZVFirmwareJob::forImage(c.image).run();
    EXPECT_EQ(result.failure, ZVJobFailure::InvalidJob);
    EXPECT_EQ(result.reason, *refused);
    EXPECT_TRUE(result.nothingSent);
    EXPECT_EQ(result.attempts, 0);
    EXPECT_FALSE(rig.printer->isConnected());
  }
}

TEST(FirmwareJob, FactsShownBeforeSending) {
  const auto digits = bytesOf("123456789");
  EXPECT_EQ(ZVFirmwareJob::facts(digits).crc32, 0xCBF43926u); // the standard check value
  const auto facts = ZVFirmwareJob::facts(firmwareImage());
  EXPECT_EQ(facts.bytes, 5000u);
  EXPECT_EQ(facts.frames, 3u);
}

} // namespace
