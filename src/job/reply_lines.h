#pragma once

// The printer's text answers to device commands ("printer_name=ZV-P1" CR LF)
// cut out of the raw notifications, which may split a line anywhere and
// carry other replies around it.

#include <zvprinter/ZVTypes.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace zv::detail {

class ReplyLines {
public:
  /// The longest line kept; a longer run without CR LF is dropped.
  static constexpr size_t kMaxLine = 4096;

  /// Adds received bytes.
  void feed(std::span<const uint8_t> bytes);
  /// The value of the first complete line "<name>=<value>" CR LF, consuming
  /// every line up to and including it; std::nullopt while none has come.
  std::optional<std::string> take(const std::string &name);

private:
  std::string buffer_;
};

} // namespace zv::detail
