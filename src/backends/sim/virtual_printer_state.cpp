#include "backends/sim/virtual_printer_state.h"

#include "backends/sim/sim_peripheral.h"

#include <algorithm>
#include <cstdio>

namespace zv::detail {

namespace {

bool isDataChannel(const std::string &uuid) {
  return uuid == gatt::kIsscWrite || uuid == gatt::kIvtWrite;
}

} // namespace

VirtualPrinterState::VirtualPrinterState(ZVVirtualPrinterConfig configuration)
    : config(std::move(configuration)),
      identifier(config.identifier.empty() ? identifierFor(config)
                                           : ZVBleUUIDString(config.identifier)),
      engine(config) {}

void VirtualPrinterState::connected(const std::shared_ptr<SimPeripheral> &peripheral,
                                    ZVRunLoop &runLoop) {
  link = peripheral;
  loop = &runLoop;
  hostCredits = 0;
  creditsToReturn = 0;
  lastDataChannel.clear();
  subscriptions.clear();
  linkWrites = 0;
  engine.newLink();
  engine.note("link opened");
}

void VirtualPrinterState::disconnected() {
  link.reset();
  if (creditTimer) creditTimer->invalidate();
  engine.note("link closed");
}

std::string VirtualPrinterState::replyCharacteristic() const {
  if (lastDataChannel == gatt::kIvtWrite) return gatt::kIvtRead;
  if (lastDataChannel == gatt::kIsscWrite) return gatt::kIsscRead;
  // Before any data: the data-out characteristic the host listens on (a
  // module with both services answers where the host reads).
  if (subscriptions.contains(gatt::kIvtRead)) return gatt::kIvtRead;
  if (subscriptions.contains(gatt::kIsscRead)) return gatt::kIsscRead;
  return config.profile == ZVVirtualPrinterProfile::IVT ? gatt::kIvtRead : gatt::kIsscRead;
}

void VirtualPrinterState::sendReplies(const std::vector<ZVData> &replies) {
  auto peripheral = link.lock();
  if (!peripheral || faults.silent) return;
  const std::string uuid = replyCharacteristic();
  const size_t limit = std::max<size_t>(config.attPayloadLimit, 1);
  for (const ZVData &reply : replies) {
    ZVData bytes = faults.garbageBeforeReplies;
    bytes.insert(bytes.end(), reply.begin(), reply.end());
    std::vector<ZVData> pieces;
    if (faults.splitReplies && bytes.size() > 1) {
      const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2);
      pieces.emplace_back(bytes.begin(), middle);
      pieces.emplace_back(middle, bytes.end());
    } else {
      pieces.push_back(std::move(bytes));
    }
    for (const ZVData &piece : pieces) {
      for (size_t at = 0; at < piece.size(); at += limit) {
        const size_t end = std::min(piece.size(), at + limit);
        peripheral->notify(uuid, ZVData(piece.begin() + static_cast<std::ptrdiff_t>(at),
                                        piece.begin() + static_cast<std::ptrdiff_t>(end)));
      }
    }
  }
}

void VirtualPrinterState::sendFlowControl(ZVData message) {
  auto peripheral = link.lock();
  if (!peripheral || faults.silent) return;
  peripheral->notify(gatt::kIvtFlowControl, std::move(message));
}

void VirtualPrinterState::grantCredits(uint32_t count) {
  while (count > 0) {
    const auto grant = static_cast<uint8_t>(std::min<uint32_t>(count, 255));
    count -= grant;
    if (faults.lostCreditGrants > 0) {
      --faults.lostCreditGrants;
      engine.note("credit grant of " + std::to_string(grant) + " lost");
      continue;
    }
    sendFlowControl({0x01, grant});
  }
}

void VirtualPrinterState::subscribed(const std::string &uuid, bool enabled) {
  engine.note(std::string("notifications ") + (enabled ? "on" : "off") + " for " + uuid);
  if (enabled) {
    subscriptions.insert(uuid);
  } else {
    subscriptions.erase(uuid);
  }
  if (uuid != gatt::kIvtFlowControl || !enabled) return;
  // The IVT module announces its chunk size and grants its buffers once the
  // host listens on the flow-control characteristic.
  const auto announce = [this] {
    sendFlowControl({0x02, static_cast<uint8_t>(config.ivtChunkSize),
                     static_cast<uint8_t>(config.ivtChunkSize >> 8)});
  };
  if (config.ivtAnnounceChunkSizeFirst) announce();
  grantCredits(config.ivtInitialCredits);
  if (!config.ivtAnnounceChunkSizeFirst) announce();
}

bool VirtualPrinterState::spendCredit() {
  if (hostCredits <= 0) return false;
  --hostCredits;
  return true;
}

WriteOutcome VirtualPrinterState::written(const std::string &uuid, const ZVData &value,
                                          Credit credit) {
  if (!isDataChannel(uuid)) {
    engine.note("write to " + uuid + " ignored");
    return {};
  }
  auto &stats = engine.statistics();
  ++stats.writes;
  const uint64_t index = linkWrites++;
  WriteOutcome outcome;
  outcome.acknowledged = !faults.lostAcknowledgements.contains(index);
  if (credit == Credit::Spent) {
    // Buffers freed during one connection event are returned in one grant.
    if (creditsToReturn++ == 0 && loop) {
      creditTimer = loop->schedule(config.connectionInterval / 2, [this] {
        const uint32_t count = std::exchange(creditsToReturn, 0);
        grantCredits(count);
      });
    }
  }
  if (faults.rejectedWrites.contains(index)) {
    engine.note("write " + std::to_string(index) + " refused");
    outcome.rejected = true;
    return outcome;
  }
  if (credit == Credit::Missing) {
    ++stats.creditOverruns;
    engine.note("write " + std::to_string(index) + " without credit dropped");
    return outcome;
  }
  lastDataChannel = uuid;
  std::span<const uint8_t> bytes(value);
  bool dropAfter = false;
  if (faults.disconnectAfterBytes) {
    const uint64_t room = *faults.disconnectAfterBytes > stats.bytesReceived
                              ? *faults.disconnectAfterBytes - stats.bytesReceived
                              : 0;
    if (room <= bytes.size()) {
      bytes = bytes.first(static_cast<size_t>(room));
      dropAfter = true;
    }
  }
  stats.bytesReceived += bytes.size();
  sendReplies(engine.receive(bytes, faults));
  if (engine.printDataInLastReceive() && loop) {
    if (finishTimer) finishTimer->invalidate();
    finishTimer =
        loop->schedule(config.printFinishDelay, [this] { sendReplies(engine.endOfInput(faults)); });
  }
  if (dropAfter) {
    engine.note("link dropped after " + std::to_string(stats.bytesReceived) + " bytes");
    if (auto peripheral = link.lock()) peripheral->dropLink();
  }
  return outcome;
}

std::string identifierFor(const ZVVirtualPrinterConfig &config) {
  // Two FNV-1a hashes of name and address give the 128 bits.
  const auto fnv = [&](uint64_t hash) {
    for (const char c : config.name)
      hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001B3ull;
    for (const uint8_t b : config.manufacturerData)
      hash = (hash ^ b) * 0x100000001B3ull;
    return hash;
  };
  const uint64_t high = fnv(0xCBF29CE484222325ull);
  const uint64_t low = fnv(0x84222325CBF29CE4ull);
  char text[37];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%012llX", static_cast<unsigned>(high >> 32),
                static_cast<unsigned>((high >> 16) & 0xFFFF),
                static_cast<unsigned>(0x4000 | (high & 0x0FFF)),
                static_cast<unsigned>(0x8000 | ((low >> 48) & 0x3FFF)),
                static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFull));
  return text;
}

} // namespace zv::detail
