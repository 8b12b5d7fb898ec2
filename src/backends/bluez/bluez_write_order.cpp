// Keeping a printer's data in order on links with several ATT bearers: the
// decision per link, and the chain of write requests used where it matters.

#include "backends/bluez/bearer_config.h"
#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_peripheral.h"

#include "platform/log.h"

namespace zv::detail {
namespace {

constexpr const char *kServerSupportedFeatures = "2B3A";

} // namespace

void BluezPeripheral::decideWriteOrder(std::function<void(BluezPeripheral &, bool)> then) {
  auto decided = [then = std::move(then)](BluezPeripheral &self, bool ordered) {
    if (!self.orderedLink_ && ordered) {
      logLine("bluez: " + self.address_ +
              " may have several ATT bearers: data goes as write requests to keep its order");
    }
    self.orderedLink_ = ordered;
    then(self, ordered);
  };
  if (orderedLink_) return decided(*this, *orderedLink_);
  auto c = central();
  if (!c) return;
  switch (c->options.writeOrder) {
  case ZVBluezWriteOrder::FastPath:
    return decided(*this, false);
  case ZVBluezWriteOrder::Ordered:
    return decided(*this, true);
  case ZVBluezWriteOrder::Auto:
    break;
  }
  // bluetoothd set to one bearer: nothing can overtake.
  if (gattChannelsOfFile(c->options.bluetoothdConfig) == 1) return decided(*this, false);

  // bluetoothd opens extra bearers only to a printer whose GATT Server
  // Supported Features (which BlueZ exports and lets anyone read) announce
  // Enhanced ATT: a printer without that characteristic has one bearer.
  std::string featuresPath;
  const std::string prefix = path_ + "/";
  for (const auto &[path, interfaces] : c->objects) {
    const auto found = interfaces.find(bluez::kCharacteristic);
    if (found == interfaces.end() || path.rfind(prefix, 0) != 0) continue;
    if (ZVBleUUIDString(stringProperty(found->second, "UUID").value_or("")) ==
        kServerSupportedFeatures) {
      featuresPath = path;
    }
  }
  if (featuresPath.empty()) return decided(*this, false);

  std::weak_ptr<ZVBlePeripheral> weak = weak_from_this();
  ZVRunLoop *loop = &loop_;
  const uint64_t link = link_.load();
  bus_->call(
      featuresPath, bluez::kCharacteristic, "ReadValue",
      [](sdbus::MethodCall &call) { call << std::map<std::string, sdbus::Variant>{}; },
      [loop, weak, link, decided](sdbus::MethodReply &reply, const sdbus::Error *error) {
        bool ordered = true;
        if (!error) {
          try {
            ZVData features;
            reply >> features;
            ordered = announcesEnhancedAtt(features);
          } catch (const sdbus::Error &) {
          }
        }
        postOnLink(*loop, weak, link,
                   [decided, ordered](BluezPeripheral &self) { decided(self, ordered); });
      });
}

void BluezPeripheral::writeOrdered(const ZVData &value, const Channel &channel) {
  {
    std::lock_guard lock(orderedMutex_);
    orderedQueue_.push_back({channel.path, value});
    if (orderedInFlight_) return;
    orderedInFlight_ = true;
  }
  sendNextOrdered(link_.load());
}

void BluezPeripheral::sendNextOrdered(uint64_t link) {
  OrderedWrite next;
  {
    std::lock_guard lock(orderedMutex_);
    if (orderedQueue_.empty() || link_.load() != link) {
      orderedInFlight_ = false;
      return;
    }
    next = orderedQueue_.front();
  }
  const std::map<std::string, sdbus::Variant> options{
      {"type", sdbus::Variant(std::string("request"))}};
  std::weak_ptr<ZVBlePeripheral> weak = weak_from_this();
  ZVRunLoop *loop = &loop_;
  bus_->call(
      next.path, bluez::kCharacteristic, "WriteValue",
      [&next, &options](sdbus::MethodCall &call) { call << next.value << options; },
      [loop, weak, link](sdbus::MethodReply &, const sdbus::Error *error) {
        std::optional<ZVError> failure;
        if (error) failure = bluezError(*error);
        postOnLink(*loop, weak, link, [link, failure](BluezPeripheral &self) {
          {
            std::lock_guard lock(self.orderedMutex_);
            if (failure) {
              self.orderedQueue_.clear();
              self.orderedInFlight_ = false;
            } else if (!self.orderedQueue_.empty()) {
              self.orderedQueue_.pop_front();
            }
          }
          if (failure) {
            // The sender counts these writes as gone: a refused one would
            // leave a silent hole in the printer's data, so the link ends.
            if (auto c = self.central()) c->dropLink(self, *failure);
            return;
          }
          self.sendNextOrdered(link);
        });
      });
}

} // namespace zv::detail
