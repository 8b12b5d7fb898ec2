#include "job/job_rig.h"

#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVPrintJob.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Profile = ZVVirtualPrinterProfile;

// Pictures the previews render as the printer prints them: a gray picture
// for the threshold mode (its preview weighs red and blue the other way round
// from the print conversion, so only neutral colours threshold alike), a
// black-and-white one for error diffusion (its preview diffuses colour
// errors with its own clamping, so only pictures without error agree).
// Both have gradients or stripes, a dark disc, and a last column of dots that
// a width not divisible by 8 would lose.
ZVImage picture(uint32_t width, uint32_t height, bool blackAndWhite) {
  ZVData rgba(size_t{width} * height * 4);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) {
      uint8_t *p = &rgba[(size_t{y} * width + x) * 4];
      const int dx = int(x) - int(width / 2), dy = int(y) - int(height / 2);
      const bool disc = dx * dx + dy * dy < int(height * height / 9);
      auto gray = static_cast<uint8_t>(disc ? 30 : (x * 160 / width + y * 95 / height));
      if (blackAndWhite) gray = disc || (x / 3 + y / 5) % 4 == 0 ? 0 : 255;
      p[0] = p[1] = p[2] = x == width - 1 ? 0 : gray;
      p[3] = 255;
    }
  return *ZVImage::fromRGBA(width, height, std::move(rgba));
}

// Dots of an image: black pixels (red channel below 128).
std::vector<bool> dots(const ZVImage &image) {
  std::vector<bool> out;
  for (size_t i = 0; i < image.rgba().size(); i += 4)
    out.push_back(image.rgba()[i] < 128);
  return out;
}

struct PaperCase {
  Profile profile;
  int64_t mode;
};

class PaperMatchesPreview : public testing::TestWithParam<PaperCase> {};

TEST_P(PaperMatchesPreview, DotForDot) {
  zvtest::JobRig rig(GetParam().profile);
  const ZVImage photo = picture(203, 120, GetParam().mode == 1);
  std::vector<ZVJobPhase> phases;
  ZVPrintJob job = ZVPrintJob::forImage(photo, GetParam().mode);
  job.setProgressHandler([&](const ZVJobProgress &p) {
    if (phases.empty() || phases.back() != p.phase) phases.push_back(p.phase);
  });
  const ZVJobResult result = job.run();
  ASSERT_TRUE(result.succeeded) << result.reason;
  EXPECT_EQ(result.bytesSent, job.printData().size());
  EXPECT_EQ(rig.printer->statistics().jobsFinished, 1u);
  EXPECT_EQ(phases,
            (std::vector<ZVJobPhase>{ZVJobPhase::Scanning, ZVJobPhase::Connecting,
                                     ZVJobPhase::CheckingStatus, ZVJobPhase::Sending,
                                     ZVJobPhase::AwaitingConfirmation, ZVJobPhase::Finished}));

  const auto prepared = ZVPrintImage::prepare(photo);
  const auto preview = GetParam().mode == 0
                           ? ZVImagePreviewManager::binaryPreviewWithImage(*prepared)
                           : ZVImagePreviewManager::ditheringPreviewWithImage(*prepared);
  const auto paper = rig.printer->paperImage();
  ASSERT_TRUE(preview && paper);
  ASSERT_EQ(paper->pixelWidth(), preview->pixelWidth());
  ASSERT_EQ(paper->pixelHeight(), preview->pixelHeight());
  const auto printed = dots(*paper), previewed = dots(*preview);
  EXPECT_EQ(std::count(printed.begin(), printed.end(), true) > 1000, true);
  size_t differing = 0;
  for (size_t i = 0; i < printed.size(); ++i)
    differing += printed[i] != previewed[i];
  EXPECT_EQ(differing, 0u) << "of " << printed.size() << " dots";
}

INSTANTIATE_TEST_SUITE_P(BothProfiles, PaperMatchesPreview,
                         testing::Values(PaperCase{Profile::ISSC, 0}, PaperCase{Profile::ISSC, 1},
                                         PaperCase{Profile::IVT, 0}, PaperCase{Profile::IVT, 1}));

} // namespace
