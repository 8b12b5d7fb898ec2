// Feeds outside bytes to the connection layer's parsers and checks what
// they promise:
// - selector 0: the rest is a printer record archive; decode() never
//   crashes, and a record it accepts encodes and decodes to itself;
// - selector 1: the rest is a run of flow-control messages (a length byte,
//   then that many bytes, repeated) on FF03 during start-up and after; the
//   chunk size never drops to 0 and credits only grow by what was granted;
// - selector 2: the rest is manufacturer data; the MAC is "Unknown" or six
//   upper-case pairs.
#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVPeripheralManager.h>
#include <zvprinter/ZVPrinterMessage.h>
#include <zvprinter/ZVRunLoop.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

namespace {

constexpr std::size_t kMaxInput = 4096;

void check(bool ok, const char *what) {
  if (ok) return;
  std::fprintf(stderr, "connection input invariant broken: %s\n", what);
  std::abort();
}

void archive(std::span<const uint8_t> bytes) {
  const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
  const auto record = ZVPrinterMessage::decode(text);
  if (!record) return;
  const auto again = ZVPrinterMessage::decode(record->encode());
  check(again != nullptr, "an accepted record re-decodes");
  check(again->name == record->name && again->mac == record->mac &&
            again->identifier == record->identifier && again->mode == record->mode,
        "fields survive the archive");
  const bool sameDistance =
      again->distance == record->distance ||
      (again->distance && record->distance && *again->distance != *again->distance &&
       *record->distance != *record->distance);
  check(sameDistance, "distance survives the archive");
}

void flowControl(std::span<const uint8_t> bytes) {
  // Virtual clock: the write passes and reports the messages cause run on
  // this thread when the loop is drained below, so nothing piles up.
  auto &loop = ZVRunLoop::main();
  loop.setClock(ZVRunLoop::Clock::Virtual);
  auto &link = ZVPeripheralManager::share();
  link.initConnectProperties();
  link.setBLEVender(ZVBLEVenderIVT);
  link.setMTU(20);
  link.setCredit(0);
  link.setIvtMaxCredit(0);
  auto characteristic = std::make_shared<ZVBleCharacteristic>("FF03", 0x10);
  size_t at = 0;
  while (at < bytes.size()) {
    const size_t length = std::min<size_t>(bytes[at], bytes.size() - at - 1);
    const ZVData message(bytes.begin() + static_cast<ptrdiff_t>(at + 1),
                         bytes.begin() + static_cast<ptrdiff_t>(at + 1 + length));
    at += 1 + length;
    const int64_t before = link.credit();
    characteristic->setValue(message);
    link.IVTdidUpdateValueForCharacteristic(characteristic, nullptr);
    const int64_t granted = message.size() >= 2 && message[0] == 1 ? message[1] : 0;
    check(link.credit() == before + granted, "credits grow by the grant only");
    check(link.MTU() > 0, "the chunk size stays positive");
  }
  loop.runFor(0);
}

void manufacturerData(std::span<const uint8_t> bytes) {
  ZVBleAdvertisement advertisement;
  advertisement.manufacturerData = ZVData(bytes.begin(), bytes.end());
  const std::string mac =
      ZVBluetoothManager::shareInstance().getMacWithAdvertisementData(advertisement);
  if (bytes.size() < 6) {
    check(mac == "Unknown", "short data gives Unknown");
    return;
  }
  check(mac.size() == 17, "six pairs");
  for (size_t i = 0; i < mac.size(); ++i) {
    const char c = mac[i];
    check(i % 3 == 2 ? c == ':' : ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')),
          "upper-case hexadecimal pairs");
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0 || size > kMaxInput) return 0;
  const std::span<const uint8_t> rest(data + 1, size - 1);
  switch (data[0] % 3) {
  case 0:
    archive(rest);
    break;
  case 1:
    flowControl(rest);
    break;
  default:
    manufacturerData(rest);
    break;
  }
  return 0;
}
