#include <zvprinter/ZVPrinterC.h>

#include "imaging/byte_conversion.h"

extern "C" int32_t clamp(int32_t value) {
  return zv::detail::clampChannel(value);
}
