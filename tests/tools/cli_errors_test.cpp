// Every zvprint subcommand, given what a careless user gives it: one line on
// stderr that says what went wrong, the right exit status, and no output
// file left behind or destroyed.
#include "tools/zvprint_runner.h"

#include "backends/printer_bytes_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace {

using zvtest::runZvprint;
namespace fs = std::filesystem;

struct ErrorCase {
  const char *name;
  std::string arguments; // {img} {junk} {job} {tall} {dir} are replaced with files
  int status;
  const char *message;  // a regular expression the last line must contain
  bool onlyLine = true; // false: lines about the job may come first (render)
};

// Whether @p text holds the pieces of @p pattern (split at ".*") in order.
bool holdsInOrder(const std::string &text, std::string pattern) {
  size_t from = 0;
  while (true) {
    const size_t gap = pattern.find(".*");
    const size_t at = text.find(pattern.substr(0, gap), from);
    if (at == std::string::npos) return false;
    if (gap == std::string::npos) return true;
    from = at + gap;
    pattern.erase(0, gap + 2);
  }
}

class CliErrors : public zvtest::ToolTest {
protected:
  std::vector<std::string> expand(const std::string &arguments) {
    const std::map<std::string, std::string> files{
        {"{img}", file("img.png", zvtest::grayPng(16, 8))},
        {"{junk}", file("junk.png", zvtest::bytes("\x89PNG but not really"))},
        {"{job}", file("job.bin", zvtest::bytes("\x01\x02 nothing a printer knows"))},
        {"{tall}", file("tall.png", zvtest::grayPng(1, 70000))},
        {"{dir}", dir.string()},
    };
    std::vector<std::string> words;
    std::istringstream in(arguments);
    for (std::string word; in >> word;) {
      for (const auto &[key, value] : files)
        if (const size_t at = word.find(key); at != std::string::npos)
          word.replace(at, key.size(), value);
      words.push_back(word);
    }
    return words;
  }
};

const ErrorCase kCases[] = {
    {"NoSubcommand", "", 2, "a subcommand is required: one of convert, preview"},
    {"UnknownSubcommand", "prnt x.png", 2, "unknown subcommand 'prnt'; use one of convert"},
    {"ConvertWithoutImage", "convert -o {dir}/out", 2, "convert: IMAGE is required; see"},
    {"ConvertMissingImage", "convert {dir}/none.png -o {dir}/out", 1,
     "cannot open image .*none.png: No such file or directory"},
    {"ConvertFolderAsImage", "convert {dir} -o {dir}/out", 1, "it is a folder"},
    {"ConvertCorruptImage", "convert {junk} -o {dir}/out", 1, "junk.png"},
    {"ConvertBadCompress", "convert {img} -o {dir}/out --compress 7", 1, "--compress must be 48"},
    {"ConvertBadMode", "convert {img} -o {dir}/out --mode 9", 1, "--mode must be 0, 1, 2"},
    {"ConvertIntoMissingFolder", "convert {img} -o {dir}/no/out", 1,
     "cannot write .*no/out: No such file or directory"},
    {"ConvertOntoFolder", "convert {img} -o {dir}", 1, "it is a folder; give a file name"},
    {"ConvertTooTallToFrame", "convert {tall} -o {dir}/out --package", 1,
     "1 x 70000 dots; framed print data holds at most 65535 rows"},
    {"ConvertFullDevice", "convert {img} -o /dev/full", 1,
     "cannot write /dev/full: No space left on device"},
    {"PreviewZeroGamma", "preview {img} -o {dir}/p.png --mode 2 --gamma 0", 2, "gamma"},
    {"PreviewBadMode", "preview {img} -o {dir}/p.png --mode 4", 2, "--mode"},
    {"PreviewAllWithMode", "preview {img} -o {dir}/p.png --all --mode 1", 2, "excludes"},
    {"PreviewFullDevice", "preview {img} -o /dev/full", 1, "No space left on device"},
    {"PreviewIntoMissingFolder", "preview {img} -o {dir}/no/p.png", 1, "No such file"},
    {"BoundsMissingImage", "bounds {dir}/none.png", 1, "No such file or directory"},
    {"BoundsFolder", "bounds {dir}", 1, "it is a folder"},
    {"BoundsCorruptImage", "bounds {junk}", 1, "junk.png"},
    {"RenderMissingJob", "render {dir}/none.bin -o {dir}/p.png", 1,
     "cannot open file .*none.bin: No such file or directory"},
    {"RenderNothingPrintable", "render {job} -o {dir}/p.png", 1, "nothing printable in", false},
    {"RenderNegativeHead", "render {job} -o {dir}/p.png --head-width -8", 2, "--head-width"},
    {"LabelWithoutOutput", "label", 2, "label: --output is required"},
    {"LabelFullDevice", "label -o /dev/full", 1, "cannot write /dev/full: No space left"},
    {"LabelZeroSize", "label -o {dir}/j --size 0x0", 1, "each side 1 to 1000 mm"},
    {"LabelHugeSize", "label -o {dir}/j --size 99999999999x1", 1, "each side 1 to 1000 mm"},
    {"LabelSizeWords", "label -o {dir}/j --size big", 1, "--size must be WIDTHxHEIGHT"},
    {"LabelGapTooLong", "label -o {dir}/j --gap 30", 1, "gap of at most 25.4 mm"},
    {"LabelNegativeDensity", "label -o {dir}/j --density -1", 2, "--density: Value -1 not in"},
    {"LabelHugeDensity", "label -o {dir}/j --density 99", 2, "--density: Value 99 not in"},
    {"LabelZeroSpeed", "label -o {dir}/j --speed 0", 2, "--speed: Value 0 not in range 1"},
    {"LabelHugeSpeed", "label -o {dir}/j --speed 99999999999999999999", 2, "--speed"},
    {"LabelModeSeven", "label -o {dir}/j --image {img} --mode 7", 2, "--mode: Value 7 not in"},
    {"LabelNegativeMode", "label -o {dir}/j --image {img} --mode -2", 2, "--mode"},
    {"LabelNegativeX", "label -o {dir}/j --image {img} --x -5", 1,
     "--x -5 is off the label: use 0 to 319"},
    {"LabelHugeY", "label -o {dir}/j --image {img} --y 99999", 1, "--y 99999 is off the label"},
    {"LabelZeroCopies", "label -o {dir}/j --copies 0", 2, "--copies"},
    {"LabelMissingImage", "label -o {dir}/j --image {dir}/none.png", 1, "No such file"},
    {"PrintZeroWidth", "print {img} --width 0", 2,
     "--width: 0 dots is not a whole number of bytes from 8 to 576"},
    {"PrintPartByteWidth", "print {img} --width 7", 2, "--width: 7 dots is not"},
    {"PrintOddWidth", "print {img} --width 100", 2, "--width: 100 dots is not"},
    {"PrintHugeWidth", "print {img} --width 100000", 2, "--width: 100000 dots is not"},
    {"BarcodeUnknownType", "barcode qr 123", 2, "barcode: TYPE"},
    {"BarcodeBadDigit", "barcode ean8 12345678", 1, "check digit 8 does not match"},
};

class CliErrorTable : public CliErrors, public ::testing::WithParamInterface<ErrorCase> {};

TEST_P(CliErrorTable, OneLineAndTheRightStatus) {
  const ErrorCase &c = GetParam();
  const auto result = runZvprint(expand(c.arguments));
  EXPECT_EQ(result.status, c.status) << result.errors;
  const size_t lastLine = result.errors.rfind('\n', result.errors.size() - 2);
  const std::string last =
      lastLine == std::string::npos ? result.errors : result.errors.substr(lastLine + 1);
  EXPECT_TRUE(holdsInOrder(last, c.message)) << result.errors;
  if (c.onlyLine) {
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  }
  EXPECT_EQ(result.errors.rfind("zvprint: ", 0), 0u) << result.errors;
  // Nothing half-made is left next to where the output would have gone.
  for (const auto &entry : fs::directory_iterator(dir)) {
    const std::string name = entry.path().filename().string();
    EXPECT_EQ(name.find(".zvprint-"), std::string::npos) << name;
    EXPECT_TRUE(name != "out" && name != "p.png" && name != "j") << name;
  }
}

INSTANTIATE_TEST_SUITE_P(AllSubcommands, CliErrorTable, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(CliErrors, AFailedWriteKeepsTheOldFile) {
  // A disk that takes no more than 64 bytes per file (RLIMIT_FSIZE).
  const std::string image = file("img.png", zvtest::grayPng(64, 64));
  const std::string out = file("out.bin", zvtest::bytes("the old print data"));
  fs::permissions(out, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  zvtest::Limits smallDisk;
  smallDisk.fileSizeBytes = 64;
  const auto full = runZvprint({"convert", image, "-o", out, "--compress", "0"}, smallDisk);
  EXPECT_EQ(full.status, 1);
  EXPECT_NE(full.errors.find("File too large (the old file is unchanged)"), std::string::npos)
      << full.errors;
  EXPECT_EQ(zvtest::readAll(out), zvtest::bytes("the old print data"));
  const std::string fresh = path("fresh.bin");
  EXPECT_EQ(runZvprint({"convert", image, "-o", fresh, "--compress", "0"}, smallDisk).status, 1);
  EXPECT_FALSE(fs::exists(fresh));
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);

  // With room, the file is replaced and keeps its permissions.
  const auto written = runZvprint({"convert", image, "-o", out, "--compress", "0"});
  ASSERT_EQ(written.status, 0) << written.errors;
  EXPECT_EQ(zvtest::readAll(out).size(), 64u * 64 / 8);
  EXPECT_EQ(fs::status(out).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(CliErrors, LostStandardOutputIsAnError) {
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{"barcode", "ean8", "1234567"},
        std::vector<std::string>{"bounds", file("img.png", zvtest::grayPng(4, 4, 0))}}) {
    const auto result = runZvprint(arguments, {}, "/dev/full");
    EXPECT_EQ(result.status, 1) << arguments[0];
    EXPECT_NE(result.errors.find("cannot write to standard output: No space left on device"),
              std::string::npos)
        << result.errors;
    EXPECT_EQ(runZvprint(arguments).status, 0) << arguments[0];
  }
}

TEST_F(CliErrors, ConvertFramesTheTallestImageTheHeadersCanHold) {
  // 65535 rows still fit the 16-bit row count; render prints every one.
  const std::string image = file("tall.png", zvtest::grayPng(8, 65535, 0));
  const auto converted = runZvprint({"convert", image, "-o", path("job"), "--package"});
  ASSERT_EQ(converted.status, 0) << converted.errors;
  const auto rendered = runZvprint({"render", path("job"), "-o", path("paper.png")});
  EXPECT_EQ(rendered.status, 0) << rendered.errors;
  EXPECT_NE(rendered.output.find("printed 65535 rows, 8 dots wide"), std::string::npos)
      << rendered.output;
}

} // namespace
