#pragma once

// One D-Bus connection to the bus that carries org.bluez, with a thread of its
// own that runs sdbus-c++'s event loop.
//
// Threading: call() and callSync() may be used from any thread; reply and
// signal handlers run on the bus thread and must only convert what they got
// and post it to the main queue. watch() is for set-up, before start().

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zv::detail {

class BluezBus {
public:
  using ReplyHandler = std::function<void(sdbus::MethodReply &reply, const sdbus::Error *error)>;
  using Arguments = std::function<void(sdbus::MethodCall &call)>;

  /// Connects to @p address, or to the system bus when it is empty. Throws
  /// sdbus::Error when the bus cannot be reached.
  static std::shared_ptr<BluezBus> open(const std::string &address);
  explicit BluezBus(std::unique_ptr<sdbus::IConnection> connection);
  ~BluezBus();
  BluezBus(const BluezBus &) = delete;
  BluezBus &operator=(const BluezBus &) = delete;

  /// Calls @p method on org.bluez's object @p path without waiting; @p done
  /// runs on the bus thread with the reply or the error.
  void call(const std::string &path, const char *interface, const char *method,
            const Arguments &arguments, ReplyHandler done);
  /// Calls and waits at most @p timeoutSeconds. Throws sdbus::Error.
  sdbus::MethodReply callSync(const std::string &path, const char *interface, const char *method,
                              const Arguments &arguments, double timeoutSeconds);
  /// Subscribes @p handler to the messages matching @p rule for the life of
  /// the bus. Blocking (one round trip); before start().
  void watch(const std::string &rule, std::function<void(sdbus::Message &)> handler);
  /// Starts the bus thread.
  void start();

private:
  sdbus::IProxy &proxy(const std::string &path);

  std::unique_ptr<sdbus::IConnection> connection_;
  std::mutex mutex_; // guards proxies_
  std::map<std::string, std::unique_ptr<sdbus::IProxy>> proxies_;
  std::vector<sdbus::Slot> watches_;
  bool running_ = false;
};

} // namespace zv::detail
