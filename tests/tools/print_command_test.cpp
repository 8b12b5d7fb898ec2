// zvprint print, status, info, wifi and firmware on the virtual printer, run
// as a user runs them: exit status 0 only on the printer's word.
#include "tools/zvprint_runner.h"

#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using zvtest::Outcome;

Outcome run(const std::string &arguments) {
  return zvtest::runZvprintMerged(arguments);
}

fs::path scratch(const std::string &name) {
  return fs::temp_directory_path() / ("zvprint_print_test_" + std::to_string(getpid()) + name);
}

TEST(PrintCommand, PrintsAndWritesThePaperOnBothProfiles) {
  const fs::path photo = scratch(".png");
  ZVData rgba(size_t{300} * 80 * 4, 0);
  for (size_t i = 0; i < rgba.size(); ++i)
    rgba[i] = i % 4 == 3 ? 255 : static_cast<uint8_t>(i / 4 % 300 * 255 / 300);
  ASSERT_TRUE(ZVImage::fromRGBA(300, 80, std::move(rgba))->writePNG(photo));
  for (const char *profile : {"issc", "ivt"}) {
    const fs::path paper = scratch(std::string(profile) + "_paper.png");
    const Outcome outcome = run("print " + photo.string() + " --mode 0 --json --profile " +
                                profile + " --paper " + paper.string());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("\"ok\":true"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("\"virtual\":true"), std::string::npos) << outcome.output;
    const auto printed = ZVImage::fromFile(paper);
    ASSERT_TRUE(printed) << profile;
    EXPECT_EQ(printed->pixelWidth(), 304u); // padded to whole bytes
    EXPECT_EQ(printed->pixelHeight(), 80u);
    fs::remove(paper);
  }
  // Said in words too: nobody mistakes the virtual paper for real.
  const Outcome human = run("print " + photo.string() + " --mode 0");
  EXPECT_EQ(human.status, 0) << human.output;
  EXPECT_NE(human.output.find("printed on the virtual printer ZV-P1"), std::string::npos)
      << human.output;
  EXPECT_EQ(human.output.find("confirmed by the printer"), std::string::npos) << human.output;
  fs::remove(photo);
}

TEST(PrintCommand, EveryFailureIsOneLineAndNonZero) {
  const fs::path junk = scratch(".jpg");
  std::ofstream(junk) << "not an image";
  const fs::path empty = scratch(".bin");
  std::ofstream{empty};
  struct Case {
    std::string arguments;
    std::string message;
  };
  const Case cases[] = {
      {"print " + junk.string(), "zvprint: " + junk.string() + ": not a PNG or JPEG image"},
      {"print " + std::string(ZV_TEST_DIR) +
           "/preview/golden/astronaut_threshold.png --printer nosuch",
       "zvprint: print failed: no printer named \"nosuch\" found within 10 s"},
      {"firmware " + empty.string(), "zvprint: " + empty.string() + ": the file is empty"},
      {"firmware " + junk.string() + " --yes",
       "zvprint: " + junk.string() + ": the file is text, not firmware; nothing was sent"},
      // Without a terminal to ask on, only --yes sends.
      {"firmware " + std::string(ZV_TEST_DIR) + "/../fuzz/corpus/image_decode_fuzz/garbage.bin",
       "zvprint: firmware update not confirmed: run it from a terminal or add --yes"},
      {"status --printer nosuch", "zvprint: status failed: no printer named \"nosuch\""},
      {"wifi set", "zvprint: wifi set: give at least one of"},
  };
  for (const Case &c : cases) {
    const Outcome outcome = run(c.arguments);
    EXPECT_NE(outcome.status, 0) << c.arguments;
    // Phase lines may come first; the failure is the last line.
    const std::string &out = outcome.output;
    const size_t last = out.rfind('\n', out.size() >= 2 ? out.size() - 2 : 0);
    const std::string lastLine = last == std::string::npos ? out : out.substr(last + 1);
    EXPECT_EQ(lastLine.rfind(c.message, 0), 0u) << c.arguments << "\n" << out;
  }
  fs::remove(junk);
  fs::remove(empty);
}

TEST(PrintCommand, DeviceCommandsAnswer) {
  EXPECT_EQ(run("status").output, "state: ready\nstatus: 0\n");
  EXPECT_EQ(run("info --json").output, "{\"firmware\":\"1.0.3\",\"name\":\"ZV-P1\",\"ok\":true,"
                                       "\"serial\":\"ZV2026000001\"}\n");
  EXPECT_EQ(run("status --json").output, "{\"ok\":true,\"state\":\"ready\",\"status\":0}\n");
  // A script gets its one object on failure too, before the line on stderr.
  for (const char *question : {"status", "info", "wifi show"}) {
    const Outcome failed = run(std::string(question) + " --json --printer nosuch");
    EXPECT_EQ(failed.status, 1) << question;
    EXPECT_EQ(
        failed.output.rfind("{\"failure\":\"not-found\",\"nothing_sent\":true,\"ok\":false,", 0),
        0u)
        << failed.output;
  }
  EXPECT_EQ(run("wifi set --ssid office --mode ap --profile ivt").status, 0);
  EXPECT_EQ(run("wifi restart").status, 0);

  const fs::path firmware = scratch("_firmware.bin");
  {
    std::ofstream out(firmware, std::ios::binary);
    for (int i = 0; i < 5000; ++i)
      out.put(static_cast<char>(i * 31 + 7));
  }
  const Outcome dry = run("firmware " + firmware.string() + " --dry-run");
  EXPECT_EQ(dry.status, 0) << dry.output;
  EXPECT_NE(dry.output.find("5000 bytes, 3 frames, CRC-32 "), std::string::npos) << dry.output;
  EXPECT_NE(dry.output.find("dry run: nothing was sent"), std::string::npos) << dry.output;
  EXPECT_EQ(run("firmware " + firmware.string() + " --yes").status, 0);
  fs::remove(firmware);
}

} // namespace
