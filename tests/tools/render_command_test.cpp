// zvprint render, run as a user runs it, on hand-made printer bytes.
#include <zvprinter/ZVImage.h>

#include <gtest/gtest.h>
#include <lzo/lzo1x.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// zvprint sits next to the tests in the build tree: build/tools/zvprint.
fs::path zvprint() {
  return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools" / "zvprint" /
         "zvprint";
}

struct Outcome {
  int status;
  std::string output;
};

Outcome run(const std::string &arguments) {
  const std::string command = zvprint().string() + " render " + arguments + " 2>&1";
  Outcome result{-1, {}};
  FILE *pipe = popen(command.c_str(), "r");
  if (!pipe) return result;
  char buffer[512];
  while (fgets(buffer, sizeof buffer, pipe))
    result.output += buffer;
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::vector<uint8_t> frame(uint16_t widthBytes, uint16_t rows, const std::vector<uint8_t> &raw) {
  static const bool ready = lzo_init() == LZO_E_OK;
  (void)ready;
  std::vector<uint8_t> work(LZO1X_1_MEM_COMPRESS);
  std::vector<uint8_t> stream(raw.size() + raw.size() / 16 + 67);
  lzo_uint length = 0;
  lzo1x_1_compress(raw.data(), raw.size(), stream.data(), &length, work.data());
  std::vector<uint8_t> out{0x1D,
                           0x76,
                           0x30,
                           0x30,
                           static_cast<uint8_t>(widthBytes),
                           static_cast<uint8_t>(widthBytes >> 8),
                           static_cast<uint8_t>(rows),
                           static_cast<uint8_t>(rows >> 8)};
  for (int i = 0; i < 4; ++i)
    out.push_back(static_cast<uint8_t>(length >> (8 * i)));
  out.insert(out.end(), stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(length));
  return out;
}

class RenderCommand : public ::testing::Test {
protected:
  void SetUp() override {
    if (!fs::exists(zvprint())) GTEST_SKIP() << "zvprint not built at " << zvprint();
    dir = fs::temp_directory_path() /
          ("zv_render_" +
           std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }
  std::string write(const std::string &name, const std::vector<uint8_t> &bytes) {
    const fs::path path = dir / name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return path.string();
  }
  fs::path dir;
};

TEST_F(RenderCommand, PrintsFramesAndKeepsGoingPastDamage) {
  // Two frames of a 2-byte-wide raster with a stripe of dots (bit 0) in row 1.
  std::vector<uint8_t> raster(2 * 40, 0xFF);
  raster[2] = raster[3] = 0x00;
  std::vector<uint8_t> job = frame(2, 30, {raster.begin(), raster.begin() + 60});
  job.insert(job.end(), {0xEE, 0xEE}); // junk between frames
  const auto second = frame(2, 10, {raster.begin() + 60, raster.end()});
  job.insert(job.end(), second.begin(), second.end());
  const std::string paper = (dir / "paper.png").string();
  const Outcome result = run(write("job.bin", job) + " -o " + paper);
  // The junk makes it a failure, but what could print is still written.
  EXPECT_EQ(result.status, 1) << result.output;
  EXPECT_NE(result.output.find("printed 40 rows, 16 dots wide: 2 frames"), std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find("skipped 2 unrecognised bytes"), std::string::npos);
  const auto image = ZVImage::fromFile(paper);
  ASSERT_TRUE(image);
  ASSERT_EQ(image->pixelWidth(), 16u);
  ASSERT_EQ(image->pixelHeight(), 40u);
  const auto px = [&](uint32_t x, uint32_t y) { return image->rgba()[(y * 16 + x) * 4]; };
  EXPECT_EQ(px(0, 0), 255);
  EXPECT_EQ(px(0, 1), 0);
  EXPECT_EQ(px(15, 1), 0);
  EXPECT_EQ(px(7, 39), 255);
}

TEST_F(RenderCommand, NothingPrintableFailsWithAReason) {
  const std::string paper = (dir / "paper.png").string();
  const Outcome garbage =
      run(write("junk.bin", {0x01, 0x02, 0x1D, 0x76, 0x30, 0x30, 0xFF}) + " -o " + paper);
  EXPECT_NE(garbage.status, 0);
  EXPECT_NE(garbage.output.find("nothing printable"), std::string::npos) << garbage.output;
  EXPECT_FALSE(fs::exists(paper));
  const Outcome missing = run((dir / "none.bin").string() + " -o " + paper);
  EXPECT_NE(missing.status, 0);
}

} // namespace
