#include "backends/bluez/bluez_bus.h"

#include "backends/bluez/bluez_names.h"

#include <chrono>

namespace zv::detail {

std::shared_ptr<BluezBus> BluezBus::open(const std::string &address) {
  auto connection = address.empty() ? sdbus::createSystemBusConnection()
                                    : sdbus::createSessionBusConnectionWithAddress(address);
  return std::make_shared<BluezBus>(std::move(connection));
}

BluezBus::BluezBus(std::unique_ptr<sdbus::IConnection> connection)
    : connection_(std::move(connection)) {}

BluezBus::~BluezBus() {
  // The thread goes first, so no handler runs while the proxies and the
  // subscriptions it could touch are taken down.
  if (running_) connection_->leaveEventLoop();
  watches_.clear();
  proxies_.clear();
}

sdbus::IProxy &BluezBus::proxy(const std::string &path) {
  std::lock_guard lock(mutex_);
  auto &slot = proxies_[path];
  if (!slot) {
    slot = sdbus::createProxy(*connection_, bluez::kService, path);
    slot->finishRegistration();
  }
  return *slot;
}

void BluezBus::call(const std::string &path, const char *interface, const char *method,
                    const Arguments &arguments, ReplyHandler done) {
  if (!done) done = [](sdbus::MethodReply &, const sdbus::Error *) {};
  auto &target = proxy(path);
  try {
    auto message = target.createMethodCall(interface, method);
    if (arguments) arguments(message);
    target.callMethod(message, done);
  } catch (const sdbus::Error &error) {
    // The message could not even be sent (connection gone): answer like a
    // failed call, from the bus thread's point of view nothing is pending.
    sdbus::MethodReply none;
    done(none, &error);
  }
}

sdbus::MethodReply BluezBus::callSync(const std::string &path, const char *interface,
                                      const char *method, const Arguments &arguments,
                                      double timeoutSeconds) {
  auto &target = proxy(path);
  auto message = target.createMethodCall(interface, method);
  if (arguments) arguments(message);
  const auto timeout = std::chrono::microseconds(static_cast<int64_t>(timeoutSeconds * 1e6));
  return target.callMethod(message, timeout);
}

void BluezBus::watch(const std::string &rule, std::function<void(sdbus::Message &)> handler) {
  watches_.push_back(connection_->addMatch(rule, std::move(handler)));
}

void BluezBus::start() {
  if (running_) return;
  running_ = true;
  connection_->enterEventLoopAsync();
}

} // namespace zv::detail
