#include "framing/lzo_bound.h"

#include <zvprinter/ZVPrinterC.h>

#include <lzo/lzo1x.h>

#include <memory>

namespace {

// lzo_init() verifies that liblzo2 was built with the types and ABI these
// headers describe; it must succeed once before the first compression.
bool lzoReady() {
  static const bool ready = lzo_init() == LZO_E_OK;
  return ready;
}

// Each thread owns its dictionary, so compressions on different threads never
// share state and need no lock. It lives on the heap (128 KiB on 64-bit
// targets) rather than in a thread_local array, so that threads with small
// stacks or a small static TLS area are unaffected; it is allocated on the
// thread's first compression and freed when the thread ends.
lzo_voidp threadWorkMemory() {
  constexpr size_t words = (LZO1X_1_MEM_COMPRESS + sizeof(lzo_align_t) - 1) / sizeof(lzo_align_t);
  thread_local const std::unique_ptr<lzo_align_t[]> memory = std::make_unique<lzo_align_t[]>(words);
  return memory.get();
}

} // namespace

extern "C" size_t zv_lzo_compress(const uint8_t *input, uint32_t length, uint8_t *output) {
  if (output == nullptr || (input == nullptr && length > 0) || !lzoReady()) {
    return 0;
  }
  static constexpr uint8_t nothing = 0;
  lzo_uint written = 0;
  // lzo1x_1_compress cannot fail for a valid work area and an output of the
  // worst-case size, which is the caller's part of the contract.
  lzo1x_1_compress(input != nullptr ? input : &nothing, length, output, &written,
                   threadWorkMemory());
  return written;
}
