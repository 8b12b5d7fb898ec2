#pragma once

// A private dbus-daemon for one test (never the machine's system bus), and
// python3-dbusmock's bluez5 template on it.

#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zv::test {

/// Starts `dbus-daemon --session` on a fresh address; stops it when destroyed.
class PrivateBus {
public:
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus &) = delete;
  PrivateBus &operator=(const PrivateBus &) = delete;

  /// The bus address, empty if the daemon did not start.
  const std::string &address() const { return address_; }
  /// Waits up to @p seconds until @p name has an owner on the bus.
  bool waitForName(const std::string &name, double seconds) const;

private:
  pid_t pid_ = -1;
  std::string address_;
};

/// A child process (killed and reaped when destroyed).
class ChildProcess {
public:
  ChildProcess(const std::vector<std::string> &argv, const std::vector<std::string> &environment);
  ~ChildProcess();
  ChildProcess(const ChildProcess &) = delete;
  ChildProcess &operator=(const ChildProcess &) = delete;
  bool started() const { return pid_ > 0; }
  /// Sends SIGTERM and waits for the exit status (-1 if killed otherwise).
  int stop();

private:
  pid_t pid_ = -1;
};

/// python3-dbusmock's bluez5 template serving org.bluez on @p bus.
class BluezMock {
public:
  explicit BluezMock(const PrivateBus &bus);
  /// Whether the mock came up (python3-dbusmock installed).
  bool ready() const { return ready_; }
  /// Calls a method of the org.bluez.Mock interface on /org/bluez with
  /// string arguments, e.g. AddAdapter("hci0", "zv-test").
  void mock(const std::string &method, const std::vector<std::string> &arguments);
  /// Sets properties of the object at @p path and emits PropertiesChanged
  /// (the mock's UpdateProperties).
  void update(const std::string &path, const std::string &interface,
              const std::map<std::string, sdbus::Variant> &properties);
  /// Only emits PropertiesChanged for @p path (for values the mock cannot
  /// store, such as dictionaries).
  void emitChanged(const std::string &path, const std::string &interface,
                   const std::map<std::string, sdbus::Variant> &properties);
  /// Replaces a method of @p path with python code (the mock's AddMethod),
  /// e.g. one that raises a BlueZ error.
  void replaceMethod(const std::string &path, const std::string &interface,
                     const std::string &method, const std::string &code);

private:
  const PrivateBus &bus_;
  ChildProcess process_;
  bool ready_ = false;
};

} // namespace zv::test
