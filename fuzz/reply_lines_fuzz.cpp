// The printer's text answers cut from arbitrary notification pieces: every
// value taken lies between "<name>=" and CR LF of the bytes fed, and the
// buffer stays bounded however long a line without CR LF grows.
#include "job/reply_lines.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1 || size > 65536) return 0;
  // The first byte sets the piece size; the rest is the stream.
  const size_t piece = data[0] % 32 + 1;
  const std::span<const uint8_t> stream(data + 1, size - 1);
  const std::string all(stream.begin(), stream.end());
  zv::detail::ReplyLines lines;
  for (size_t at = 0; at < stream.size(); at += piece) {
    lines.feed(stream.subspan(at, std::min(piece, stream.size() - at)));
    for (const char *name : {"printer_name", "auto_wifi", "a"}) {
      if (const auto value = lines.take(name)) {
        const std::string line = std::string(name) + "=" + *value + "\r\n";
        if (all.find(line) == std::string::npos) std::abort();
        if (value->find("\r\n") != std::string::npos) std::abort();
      }
    }
  }
  return 0;
}
