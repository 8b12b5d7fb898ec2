// Cost of the text paths: a TSPL command (GB 18030 through ICU), a long
// Chinese text both ways, and a barcode check.
#include <zvprinter/ZVBarcodeEncodeVerify.h>
#include <zvprinter/ZVCmdTSCGenerator.h>
#include <zvprinter/ZVEncode.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

void sizeCommand(benchmark::State &state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ZVCmdTSCGenerator::setPrintAreaSizeWithWidth(40, 30));
}
BENCHMARK(sizeCommand);

std::string chineseText() {
  std::string text;
  for (int i = 0; i < 10000; ++i)
    text += "打印机标签 label 😀 ";
  return text;
}

void encodeGB18030(benchmark::State &state) {
  const std::string text = chineseText();
  for (auto _ : state)
    benchmark::DoNotOptimize(ZVEncode::encodeDataWithString(text));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(encodeGB18030);

void decodeGB18030(benchmark::State &state) {
  const ZVData bytes = ZVEncode::encodeDataWithString(chineseText()).value();
  for (auto _ : state)
    benchmark::DoNotOptimize(ZVEncode::decodeStringWithData(bytes));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(decodeGB18030);

void code39Check(benchmark::State &state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ZVBarcodeEncodeVerify::verifyCode39Encoding("Label-0042 abc"));
}
BENCHMARK(code39Check);

} // namespace
