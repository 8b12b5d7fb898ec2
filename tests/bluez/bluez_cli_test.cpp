// zvprint scan and print with --backend bluez, run as a user runs them,
// against our fake org.bluez on a private bus (passed in the way a user's
// system bus is found: DBUS_SYSTEM_BUS_ADDRESS).

#include "backends/bluez/bearer_config.h"
#include "bluez/fake_bluez.h"
#include "bluez/private_bus.h"

#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrintImage.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using zv::test::FakeBluez;
using zv::test::FakeBluezConfig;
using zv::test::PrivateBus;

fs::path zvprint() {
  return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools" / "zvprint" /
         "zvprint";
}

struct Outcome {
  int status = -1;
  std::string output;
};

Outcome run(const std::string &busAddress, const std::string &arguments) {
  const std::string command = "DBUS_SYSTEM_BUS_ADDRESS='" + busAddress + "' " + zvprint().string() +
                              " " + arguments + " 2>&1";
  Outcome result;
  FILE *pipe = popen(command.c_str(), "r");
  if (!pipe) return result;
  char buffer[512];
  while (fgets(buffer, sizeof buffer, pipe))
    result.output += buffer;
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

// Black and white with a disc and stripes: error diffusion prints it exactly
// as its preview shows it.
ZVImage picture(uint32_t width, uint32_t height) {
  ZVData rgba(size_t{width} * height * 4, 255);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      uint8_t *p = &rgba[(size_t{y} * width + x) * 4];
      const int dx = int(x) - int(width / 2), dy = int(y) - int(height / 2);
      const bool dot = dx * dx + dy * dy < int(height * height / 9) || (x / 3 + y / 5) % 4 == 0;
      p[0] = p[1] = p[2] = dot ? 0 : 255;
    }
  }
  return *ZVImage::fromRGBA(width, height, std::move(rgba));
}

struct CliCase {
  const char *name;
  ZVVirtualPrinterProfile profile;
  unsigned bearers; // with 2, the printer announces Enhanced ATT and writes overtake
};

class BluezCommandLine : public ::testing::TestWithParam<CliCase> {
protected:
  void SetUp() override {
    if (!fs::exists(zvprint())) GTEST_SKIP() << "zvprint not built at " << zvprint();
    if (bus_.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed";
  }
  PrivateBus bus_;
};

TEST_P(BluezCommandLine, ScanListsThePrinterAndPrintLeavesPaperThatMatchesThePreview) {
  FakeBluezConfig config;
  config.profile = GetParam().profile;
  config.bearers = GetParam().bearers;
  if (config.bearers > 1) {
    if (zv::detail::gattChannelsOfFile("/etc/bluetooth/main.conf") == 1) {
      GTEST_SKIP() << "this machine's bluetoothd is set to one ATT bearer";
    }
    config.serverFeatures = 0x01;
  }
  FakeBluez fake(bus_.address(), config);
  ASSERT_TRUE(fake.ready());

  const Outcome scan = run(bus_.address(), "scan --backend bluez --json --time 1");
  ASSERT_EQ(scan.status, 0) << scan.output;
  const auto list = nlohmann::json::parse(scan.output);
  ASSERT_EQ(list.size(), 1u) << scan.output;
  EXPECT_EQ(list[0]["name"], "ZV-P1");
  EXPECT_EQ(list[0]["identifier"], "00:AA:01:01:00:01");

  const fs::path photo =
      fs::temp_directory_path() / ("zv_bluez_photo_" + std::to_string(getpid()) + ".png");
  const ZVImage image = picture(203, 120);
  ASSERT_TRUE(image.writePNG(photo.string()));
  const Outcome print = run(bus_.address(), "print --backend bluez --mode 1 " + photo.string());
  fs::remove(photo);
  ASSERT_EQ(print.status, 0) << print.output;
  EXPECT_NE(print.output.find("confirmed by the printer"), std::string::npos) << print.output;
  fake.stop();

  const auto prepared = ZVPrintImage::prepare(image);
  ASSERT_TRUE(prepared);
  const auto preview = ZVImagePreviewManager::ditheringPreviewWithImage(*prepared);
  const auto paper = fake.printer().paperImage();
  ASSERT_TRUE(preview && paper);
  ASSERT_EQ(paper->pixelWidth(), preview->pixelWidth());
  ASSERT_EQ(paper->pixelHeight(), preview->pixelHeight());
  size_t differing = 0, dots = 0;
  for (size_t i = 0; i < paper->rgba().size(); i += 4) {
    const bool printed = paper->rgba()[i] < 128, previewed = preview->rgba()[i] < 128;
    dots += printed;
    differing += printed != previewed;
  }
  EXPECT_GT(dots, 1000u);
  EXPECT_EQ(differing, 0u);
  EXPECT_EQ(fake.printer().statistics().jobsFinished, 1u);
  if (config.bearers > 1) {
    EXPECT_EQ(fake.requestWrites(), fake.busWrites());
    EXPECT_EQ(fake.socketWrites(), 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(BothProfiles, BluezCommandLine,
                         ::testing::Values(CliCase{"ISSC", ZVVirtualPrinterProfile::ISSC, 1},
                                           CliCase{"IVT", ZVVirtualPrinterProfile::IVT, 1},
                                           CliCase{"IvtEnhancedAtt", ZVVirtualPrinterProfile::IVT,
                                                   2}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(BluezCommandLineWithoutBluez, BluezFailsWithAdviceAndAutoFallsBackWithANotice) {
  if (!fs::exists(zvprint())) GTEST_SKIP() << "zvprint not built at " << zvprint();
  PrivateBus bus; // a bus where nobody owns org.bluez
  if (bus.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed";
  const Outcome bluez = run(bus.address(), "scan --backend bluez --time 1");
  EXPECT_NE(bluez.status, 0);
  EXPECT_EQ(std::count(bluez.output.begin(), bluez.output.end(), '\n'), 1) << bluez.output;
  EXPECT_NE(bluez.output.find("systemctl start bluetooth"), std::string::npos) << bluez.output;

  const Outcome fallback = run(bus.address(), "scan --time 1");
  EXPECT_EQ(fallback.status, 0) << fallback.output;
  EXPECT_NE(fallback.output.find("using the built-in virtual printer"), std::string::npos);
  EXPECT_NE(fallback.output.find("ZV-P1"), std::string::npos) << fallback.output;
}

} // namespace
