#include "output_file.h"

#include "cli_support.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zvprint {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void writeFailed(const std::string &path, int error, const std::string &note = {}) {
  fail("cannot write " + path + ": " + systemReason(error) +
       (note.empty() ? "" : " (" + note + ")") +
       "; check the folder and the free space, or choose another file with -o");
}

// Writes everything or returns the errno of the first failure (0 on success).
int writeAll(int fd, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n < 0 ? errno : ENOSPC;
    bytes = bytes.subspan(static_cast<size_t>(n));
  }
  return 0;
}

void writeInPlace(const std::string &path, std::span<const uint8_t> bytes) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) writeFailed(path, errno);
  const int error = writeAll(fd, bytes);
  if (::close(fd) != 0 && error == 0) writeFailed(path, errno);
  if (error != 0) writeFailed(path, error);
}

// A new file next to @p target, made with O_EXCL so no one else's is reused.
int createTemporary(const fs::path &target, std::string &name) {
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    const fs::path candidate =
        target.parent_path() / ("." + target.filename().string() + ".zvprint-" +
                                std::to_string(::getpid()) + "-" + std::to_string(random()));
    const int fd =
        ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY, 0666);
    if (fd >= 0 || errno != EEXIST) {
      name = candidate.string();
      return fd;
    }
  }
  errno = EEXIST;
  return -1;
}

void replaceAtomically(const std::string &shown, const fs::path &target, const struct stat *old,
                       std::span<const uint8_t> bytes) {
  std::string temporary;
  const int fd = createTemporary(target, temporary);
  if (fd < 0) writeFailed(shown, errno, "no new file can be made in its folder");
  int error = old && ::fchmod(fd, old->st_mode & 07777) != 0 ? errno : 0;
  if (error == 0) error = writeAll(fd, bytes);
  if (error == 0 && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && ::rename(temporary.c_str(), target.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(temporary.c_str());
    writeFailed(shown, error, old ? "the old file is unchanged" : "");
  }
}

} // namespace

std::string systemReason(int error) {
  return std::strerror(error);
}

void writeFile(const std::string &path, std::span<const uint8_t> bytes) {
  if (path.empty()) fail("the output path is empty; give a file name with -o");
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) writeFailed(path, errno);
    fs::path target(path);
    if (target.filename().empty()) fail("cannot write " + path + ": it names a folder");
    replaceAtomically(path, target, nullptr, bytes);
    return;
  }
  if (S_ISDIR(status.st_mode))
    fail("cannot write " + path + ": it is a folder; give a file name with -o");
  if (!S_ISREG(status.st_mode)) {
    writeInPlace(path, bytes);
    return;
  }
  std::error_code error;
  const fs::path target = fs::canonical(path, error); // a link's target is what gets replaced
  if (error) writeFailed(path, error.value());
  replaceAtomically(path, target, &status, bytes);
}

void finishStandardOutput() {
  errno = 0;
  std::cout.flush();
  const bool lost = !std::cout || std::fflush(stdout) != 0 || std::ferror(stdout);
  if (lost)
    fail("cannot write to standard output: " + systemReason(errno != 0 ? errno : EIO) +
         "; the output above is incomplete");
}

} // namespace zvprint
