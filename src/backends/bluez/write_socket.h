#pragma once

// The socket that BlueZ's AcquireWrite hands out: each message written to it
// is one ATT write without response, sent by bluetoothd as fast as the link
// takes them.

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>

namespace zv::detail {

class WriteSocket {
public:
  /// Takes ownership of @p fd. @p mtu is the ATT MTU BlueZ reported.
  WriteSocket(int fd, uint16_t mtu);
  ~WriteSocket();
  WriteSocket(const WriteSocket &) = delete;
  WriteSocket &operator=(const WriteSocket &) = delete;

  /// The largest value one write may carry: the ATT payload (MTU - 3),
  /// capped at 512 bytes, the longest attribute value.
  size_t payloadLimit() const { return payloadLimit_; }
  /// Writes @p value as one message, waiting while the socket is full (at
  /// most @p timeoutSeconds). Any thread; writes are serialised. Returns ""
  /// on success, else what went wrong.
  std::string write(std::span<const uint8_t> value, double timeoutSeconds = 10.0);
  /// Closes the socket; later writes fail.
  void close();

private:
  std::mutex mutex_;
  int fd_;
  size_t payloadLimit_;
};

} // namespace zv::detail
