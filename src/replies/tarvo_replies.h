// The printer's replies: prefix, whole length and model type of each.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace zv::detail {

enum TarvoReplyType : uint64_t {
  kTarvoStatus = 0,
  kTarvoPrintFinished = 1,
  kTarvoFirmwareAck = 2,
  kTarvoUnresolved = 3,
  kTarvoDisconnect = 4,
};

struct TarvoReplyFormat {
  std::string_view prefix;
  int64_t length; ///< prefix plus payload
  TarvoReplyType type;
};

/// The acknowledgement prefix is the start of the firmware frame header.
inline constexpr std::string_view kFirmwareAckPrefix{"\x1B\x1C\x26", 3};
inline constexpr int64_t kFirmwareAckLength = 8;

/// In the order they are registered.
inline constexpr std::array<TarvoReplyFormat, 4> kTarvoReplies{{
    {kFirmwareAckPrefix, kFirmwareAckLength, kTarvoFirmwareAck},
    {"tarvo_sta=", 11, kTarvoStatus},
    {"dithering_finis", 16, kTarvoPrintFinished},
    {"Disconnect_B", 13, kTarvoDisconnect},
}};

inline std::span<const uint8_t> asBytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

} // namespace zv::detail
