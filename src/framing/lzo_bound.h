#pragma once

#include <cstddef>

namespace zv::detail {

/// The most bytes an LZO1X-1 stream of @p length input bytes can take,
/// end-of-stream marker included: the output size zv_lzo_compress requires.
constexpr size_t lzoWorstCase(size_t length) {
  return length + length / 16 + 64 + 3;
}

} // namespace zv::detail
