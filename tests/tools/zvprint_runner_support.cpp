#include "tools/zvprint_runner.h"

#include <zvprinter/ZVImage.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zvtest {

namespace fs = std::filesystem;

namespace {

void limit(int resource, uint64_t value) {
  if (value == 0) return;
  const rlimit r{value, value};
  setrlimit(resource, &r);
}

std::string slurp(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(n));
  close(fd);
  return text;
}

} // namespace

fs::path zvprintPath() {
  return fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools" / "zvprint" /
         "zvprint";
}

Outcome runZvprintMerged(const std::string &arguments) {
  // Always the virtual printer, even on a machine with a powered adapter;
  // never a terminal to ask on.
  const std::string command =
      "ZVPRINT_BACKEND=sim " + zvprintPath().string() + " " + arguments + " </dev/null 2>&1";
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

Outcome runZvprint(const std::vector<std::string> &arguments, const Limits &limits,
                   const std::string &stdoutPath) {
  const std::string program = zvprintPath().string();
  std::vector<char *> argv{const_cast<char *>(program.c_str())};
  for (const std::string &argument : arguments)
    argv.push_back(const_cast<char *>(argument.c_str()));
  argv.push_back(nullptr);
  // stdout goes to a file, so a child that writes a lot never blocks on us;
  // stderr to a pipe, which a file-size limit does not cut short.
  char outName[] = "/tmp/zv_tool_out_XXXXXX";
  const int out = mkstemp(outName);
  int err[2];
  if (pipe(err) != 0) return {};
  Outcome result;
  const pid_t child = fork();
  if (child == 0) {
    if (!stdoutPath.empty()) {
      const int target = open(stdoutPath.c_str(), O_WRONLY);
      dup2(target, 1);
    } else {
      dup2(out, 1);
    }
    dup2(err[1], 2);
    close(err[0]);
    // An address-space limit counts reserved memory: glibc gives a second
    // thread that allocates under contention an arena of its own, 64 MB of
    // reservation, which would make the limit depend on timing. One arena
    // keeps the count to what zvprint really maps.
    if (limits.addressSpaceBytes != 0) setenv("MALLOC_ARENA_MAX", "1", 1);
    limit(RLIMIT_AS, limits.addressSpaceBytes);
    limit(RLIMIT_CPU, limits.cpuSeconds);
    limit(RLIMIT_FSIZE, limits.fileSizeBytes);
    signal(SIGXFSZ, SIG_IGN); // a write past the limit fails with EFBIG instead
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(err[1]);
  result.errors = slurp(err[0]);
  int status = 0;
  waitpid(child, &status, 0);
  lseek(out, 0, SEEK_SET);
  result.output = slurp(out);
  unlink(outName);
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

void ToolTest::SetUp() {
  if (!fs::exists(zvprintPath())) GTEST_SKIP() << "zvprint not built at " << zvprintPath();
  const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string("zv_tool_") + info->test_suite_name() + "_" + info->name();
  for (char &c : name)
    if (c == '/') c = '_';
  dir = fs::temp_directory_path() / name;
  fs::remove_all(dir);
  fs::create_directories(dir);
}

void ToolTest::TearDown() {
  if (!dir.empty()) fs::remove_all(dir);
}

std::string ToolTest::file(const std::string &name, const ZVData &bytes) const {
  const fs::path target = dir / name;
  std::ofstream(target, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  return target.string();
}

ZVData readAll(const fs::path &path) {
  std::ifstream in(path, std::ios::binary);
  return ZVData((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

ZVData grayPng(uint32_t width, uint32_t height, uint8_t gray) {
  ZVData rgba(size_t{width} * height * 4, gray);
  for (size_t i = 3; i < rgba.size(); i += 4)
    rgba[i] = 255;
  const auto image = ZVImage::fromRGBA(width, height, std::move(rgba));
  return image ? image->encodePNG() : ZVData{};
}

} // namespace zvtest
