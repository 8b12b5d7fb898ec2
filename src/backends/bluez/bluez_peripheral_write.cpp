// The write side of a BlueZ peripheral: AcquireWrite sockets for the data
// characteristics, WriteValue for everything else.

#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_peripheral.h"

#include "platform/log.h"

namespace zv::detail {

std::optional<BluezPeripheral::Channel>
BluezPeripheral::channel(const std::shared_ptr<ZVBleCharacteristic> &c) const {
  std::lock_guard lock(channelsMutex_);
  for (const auto &channel : channels_) {
    if (channel.characteristic == c) return channel;
  }
  return std::nullopt;
}

void BluezPeripheral::acquireWrites(std::vector<Channel> channels,
                                    std::shared_ptr<ZVBleService> service) {
  struct Pending {
    std::vector<Channel> channels;
    size_t left = 0;
  };
  auto pending = std::make_shared<Pending>();
  pending->channels = std::move(channels);
  for (const auto &channel : pending->channels)
    pending->left += channel.acquirable ? 1 : 0;

  // The discovery is reported once every socket is in hand, so that no write
  // can go by D-Bus first and overtake later ones on the socket.
  auto finish = [service](BluezPeripheral &self, Pending &done) {
    {
      std::lock_guard lock(self.channelsMutex_);
      for (auto &channel : done.channels)
        self.channels_.push_back(std::move(channel));
    }
    auto shared = self.self();
    self.callDelegate([&](ZVBlePeripheralDelegate &d) {
      d.didDiscoverCharacteristics(shared, service, std::nullopt);
    });
  };
  const uint64_t link = link_.load();
  if (pending->left == 0) {
    onLink(link, [pending, finish](BluezPeripheral &self) { finish(self, *pending); });
    return;
  }
  std::weak_ptr<ZVBlePeripheral> weak = weak_from_this();
  ZVRunLoop *loop = &loop_;
  for (size_t i = 0; i < pending->channels.size(); ++i) {
    if (!pending->channels[i].acquirable) continue;
    bus_->call(
        pending->channels[i].path, bluez::kCharacteristic, "AcquireWrite",
        [](sdbus::MethodCall &call) { call << std::map<std::string, sdbus::Variant>{}; },
        [loop, weak, link, pending, i, finish](sdbus::MethodReply &reply,
                                               const sdbus::Error *error) {
          std::shared_ptr<WriteSocket> socket;
          std::string problem;
          if (error) {
            problem = error->getName();
          } else {
            try {
              sdbus::UnixFd fd;
              uint16_t mtu = 0;
              reply >> fd >> mtu;
              socket = std::make_shared<WriteSocket>(fd.release(), mtu);
            } catch (const sdbus::Error &e) {
              problem = e.getName();
            }
          }
          postOnLink(*loop, weak, link,
                     [pending, i, finish, socket, problem](BluezPeripheral &self) {
                       if (!problem.empty()) {
                         // Still writable, one WriteValue per chunk.
                         logLine("bluez: AcquireWrite on " + pending->channels[i].path +
                                 " failed: " + problem);
                       }
                       pending->channels[i].socket = socket;
                       if (--pending->left == 0) finish(self, *pending);
                     });
        });
  }
}

void BluezPeripheral::writeValue(const ZVData &value,
                                 const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                                 int64_t type) {
  if (state() != ZVBlePeripheralStateConnected) return;
  const auto found = channel(characteristic);
  if (!found) return;
  if (type == ZVBleWriteWithoutResponse && found->ordered) return writeOrdered(value, *found);
  if (type == ZVBleWriteWithoutResponse && found->socket) {
    const bool tooLong = value.size() > found->socket->payloadLimit();
    std::string problem = found->socket->write(value);
    if (problem.empty()) return;
    // An unacknowledged write that cannot go out would leave a hole in the
    // printer's data: end the link so the sender learns of it.
    const ZVError error = bluezError(tooLong ? ZVBluezErrorValueTooLong : ZVBluezErrorSocket,
                                     "write to " + characteristic->uuid() + ": " + problem);
    std::weak_ptr<ZVBluezCentral::Impl> central = central_;
    onLink(link_.load(), [central, error](BluezPeripheral &self) {
      if (auto c = central.lock()) c->dropLink(self, error);
    });
    return;
  }
  writeOverBus(value, *found, type);
}

void BluezPeripheral::writeOverBus(const ZVData &value, const Channel &channel, int64_t type) {
  const bool withResponse = type == ZVBleWriteWithResponse;
  std::map<std::string, sdbus::Variant> options{
      {"type", sdbus::Variant(std::string(withResponse ? "request" : "command"))}};
  std::weak_ptr<ZVBlePeripheral> weak = weak_from_this();
  ZVRunLoop *loop = &loop_;
  const uint64_t link = link_.load();
  auto characteristic = channel.characteristic;
  bus_->call(
      channel.path, bluez::kCharacteristic, "WriteValue",
      [&value, &options](sdbus::MethodCall &call) { call << value << options; },
      [loop, weak, link, withResponse, characteristic](sdbus::MethodReply &,
                                                       const sdbus::Error *error) {
        std::optional<ZVError> failure;
        if (error) failure = bluezError(*error);
        if (!withResponse && !failure) return;
        postOnLink(*loop, weak, link,
                   [characteristic, failure, withResponse](BluezPeripheral &self) {
                     if (!withResponse) {
                       // Nobody hears of an unacknowledged write: a refused one
                       // would leave a silent hole in the data, so the link ends.
                       if (auto c = self.central()) c->dropLink(self, *failure);
                       return;
                     }
                     auto shared = self.self();
                     self.callDelegate([&](ZVBlePeripheralDelegate &d) {
                       d.didWriteValue(shared, characteristic, failure);
                     });
                   });
      });
}

} // namespace zv::detail
