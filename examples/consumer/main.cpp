// Links the installed library and checks a few public entry points.
#include <zvprinter/ZVPrinterSDK.h>

#include <cstdio>
#include <vector>

int main() {
  const std::vector<uint8_t> white(4 * 8 * 2, 255);
  auto image = ZVImage::fromRGBA(8, 2, white);
  if (!image || image->encodePNG().empty()) {
    std::puts("image round trip failed");
    return 1;
  }
  std::printf("zvprinter %.1f: %s", ZVPrinterSDKVersionNumber,
              reinterpret_cast<const char *>(ZVPrinterSDKVersionString));
  return 0;
}
