#include "backends/bluez/write_socket.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zv::detail {

WriteSocket::WriteSocket(int fd, uint16_t mtu)
    : fd_(fd), payloadLimit_(std::min<size_t>(mtu > 3 ? mtu - 3u : 0u, 512u)) {}

WriteSocket::~WriteSocket() {
  close();
}

void WriteSocket::close() {
  std::lock_guard lock(mutex_);
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

std::string WriteSocket::write(std::span<const uint8_t> value, double timeoutSeconds) {
  std::lock_guard lock(mutex_);
  if (fd_ < 0) return "the write socket is closed";
  if (value.size() > payloadLimit_) {
    return "a write of " + std::to_string(value.size()) + " bytes exceeds the ATT payload of " +
           std::to_string(payloadLimit_) + " bytes";
  }
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::microseconds(static_cast<int64_t>(timeoutSeconds * 1e6));
  for (;;) {
    const ssize_t sent = ::send(fd_, value.data(), value.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent == static_cast<ssize_t>(value.size())) return "";
    if (sent >= 0) return "the write socket took a partial message";
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) return std::strerror(errno);
    // bluetoothd has not caught up with the radio yet: wait for room.
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return "the write socket stayed full";
    pollfd descriptor{fd_, POLLOUT, 0};
    if (::poll(&descriptor, 1, static_cast<int>(left.count())) < 0 && errno != EINTR) {
      return std::strerror(errno);
    }
    if (descriptor.revents & (POLLERR | POLLHUP | POLLNVAL)) return "the write socket was closed";
  }
}

} // namespace zv::detail
