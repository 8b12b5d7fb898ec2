// Every barcode check and helper over arbitrary bytes, invalid UTF-8 included.
#include <zvprinter/ZVBarcodeEncodeVerify.h>
#include <zvprinter/ZVLog.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 4096) return 0;
  static const bool silenced = (ZVSetLogHandler({}), true);
  (void)silenced;
  using V = ZVBarcodeEncodeVerify;
  const std::string input(reinterpret_cast<const char *>(data), size);

  for (const auto check : {V::verifyEan8Encoding, V::verifyEan13Encoding, V::verifyUpcaEncoding,
                           V::verifyUpceEncoding, V::verifyItf25Encoding}) {
    const ZVBarcodeSlice slice = check(input);
    if (slice.isVerify) require(V::isNumeric(slice.content));
  }
  V::verifyCodaBarEncoding(input);
  require(!V::verifyCode128Encoding(input).isVerify || !input.empty());
  // Whatever Code 39 accepts, rewritten or not, is plain Code 39 text.
  const ZVBarcodeSlice code39 = V::verifyCode39Encoding(input);
  if (code39.isVerify) require(V::verifyCode93Encoding(code39.content).isVerify);
  V::verifyCode93Encoding(input);

  const int64_t digit = V::standardUPCEANChecksum(input);
  require(digit > -10 && digit < 10);
  V::checkStandardUPCEANChecksum(input);
  V::convertUPCEtoUPCA(input);
  const std::string extended = V::tryToConvertToExtendedMode(input);
  // The full-ASCII form holds only characters of the Code 39 alphabet.
  for (const char c : extended)
    require(V::arrayContains(ZV_CODE39_ALPHABET, 43, static_cast<char16_t>(c)));
  return 0;
}
