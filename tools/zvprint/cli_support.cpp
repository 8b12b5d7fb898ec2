#include "cli_support.h"

#include <fstream>
#include <iterator>
#include <map>

namespace zvprint {

void fail(const std::string &message, int exitCode) {
  throw CommandFailure(message, exitCode);
}

ZVImage loadImage(const std::string &path) {
  std::string error;
  auto image = ZVImage::fromFile(path, &error);
  if (!image) fail(error);
  return std::move(*image);
}

ZVData readFile(const std::string &path) {
  // Far more than any image or print job; stops a huge file from being read
  // into memory whole.
  constexpr std::streamoff kMaxFileBytes = std::streamoff{1} << 30;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) fail("cannot open " + path);
  const std::streamoff size = file.tellg();
  if (size > kMaxFileBytes) fail("cannot read " + path + ": larger than 1 GiB");
  if (size < 0) { // not seekable (a pipe): read to the end
    file.clear();
    ZVData bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) fail("cannot read " + path);
    return bytes;
  }
  ZVData bytes(static_cast<size_t>(size));
  file.seekg(0);
  if (!file.read(reinterpret_cast<char *>(bytes.data()), size)) fail("cannot read " + path);
  return bytes;
}

void writeFile(const std::string &path, std::span<const uint8_t> bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file || !file.write(reinterpret_cast<const char *>(bytes.data()),
                           static_cast<std::streamsize>(bytes.size())))
    fail("cannot write " + path);
}

CLI::Validator modeOption() {
  const std::map<std::string, std::string> words{
      {"threshold", "0"}, {"dither", "1"}, {"cluster", "2"}, {"0", "0"}, {"1", "1"}, {"2", "2"}};
  return CLI::Transformer(words, CLI::ignore_case).description("0|1|2|threshold|dither|cluster");
}

} // namespace zvprint
