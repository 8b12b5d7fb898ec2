#include "cli_support.h"

#include "output_file.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace zvprint {

namespace {

// Opens an input file or fails with the OS's reason; a folder is refused
// here, since reading one fails later with a less helpful message.
std::ifstream openInput(const std::string &path, const std::string &what) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    fail("cannot open " + what + " " + path + ": it is a folder; give a file");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file)
    fail("cannot open " + what + " " + path + ": " + systemReason(errno != 0 ? errno : ENOENT));
  return file;
}

} // namespace

void fail(const std::string &message, int exitCode) {
  throw CommandFailure(message, exitCode);
}

ZVImage loadImage(const std::string &path) {
  openInput(path, "image"); // the decoder's message would not say why
  std::string error;
  auto image = ZVImage::fromFile(path, &error);
  if (!image) fail(error);
  return std::move(*image);
}

ZVData readFile(const std::string &path, const std::string &what) {
  // Far more than any image or print job; stops a huge file from being read
  // into memory whole.
  constexpr std::streamoff kMaxFileBytes = std::streamoff{1} << 30;
  std::ifstream file = openInput(path, what);
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  if (size > kMaxFileBytes) fail("cannot read " + path + ": larger than 1 GiB");
  errno = 0;
  if (size < 0) { // not seekable (a pipe): read to the end
    file.clear();
    ZVData bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) fail("cannot read " + path + ": " + systemReason(errno != 0 ? errno : EIO));
    return bytes;
  }
  ZVData bytes(static_cast<size_t>(size));
  file.seekg(0);
  if (!file.read(reinterpret_cast<char *>(bytes.data()), size))
    fail("cannot read " + path + ": " + systemReason(errno != 0 ? errno : EIO));
  return bytes;
}

CLI::Validator modeOption() {
  const std::map<std::string, std::string> words{
      {"threshold", "0"}, {"dither", "1"}, {"cluster", "2"}, {"0", "0"}, {"1", "1"}, {"2", "2"}};
  return CLI::Transformer(words, CLI::ignore_case).description("0|1|2|threshold|dither|cluster");
}

std::string usageMessage(const CLI::App &app, const CLI::ParseError &error,
                         std::span<const char *const> arguments) {
  std::vector<std::string> names;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
    names.push_back(command->get_name());
  std::string list;
  for (const std::string &name : names)
    list += (list.empty() ? "" : ", ") + name;
  const CLI::App *chosen = nullptr;
  for (const CLI::App *command : app.get_subcommands())
    chosen = command;
  if (!chosen) {
    // The first word that is not an option names the subcommand.
    for (size_t i = 1; i < arguments.size(); ++i) {
      const std::string word = arguments[i];
      if (word.empty() || word[0] == '-') continue;
      return "unknown subcommand '" + word + "'; use one of " + list +
             " (zvprint --help explains them)";
    }
    return "a subcommand is required: one of " + list + " (zvprint --help explains them)";
  }
  return chosen->get_name() + ": " + error.what() + "; see zvprint " + chosen->get_name() +
         " --help";
}

} // namespace zvprint
