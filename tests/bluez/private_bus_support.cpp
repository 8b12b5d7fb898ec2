#include "bluez/private_bus.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace zv::test {

namespace {

pid_t spawn(const std::vector<std::string> &argv, const std::vector<std::string> &environment,
            int stdoutFd) {
  std::vector<char *> args;
  for (const auto &a : argv)
    args.push_back(const_cast<char *>(a.c_str()));
  args.push_back(nullptr);
  std::vector<std::string> envStrings;
  for (char **e = environ; *e; ++e)
    envStrings.emplace_back(*e);
  envStrings.insert(envStrings.end(), environment.begin(), environment.end());
  std::vector<char *> env;
  for (auto &e : envStrings)
    env.push_back(e.data());
  env.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (stdoutFd >= 0) posix_spawn_file_actions_adddup2(&actions, stdoutFd, STDOUT_FILENO);
  pid_t pid = -1;
  if (posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), env.data()) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

int reap(pid_t pid) {
  kill(pid, SIGTERM);
  int status = 0;
  for (int i = 0; i < 200; ++i) {
    if (waitpid(pid, &status, WNOHANG) == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  kill(pid, SIGKILL);
  waitpid(pid, &status, 0);
  return -1;
}

} // namespace

PrivateBus::PrivateBus() {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return;
  pid_ = spawn({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1"}, {},
               fds[1]);
  close(fds[1]);
  std::string line;
  pollfd descriptor{fds[0], POLLIN, 0};
  char c = 0;
  while (pid_ > 0 && poll(&descriptor, 1, 5000) > 0 && read(fds[0], &c, 1) == 1 && c != '\n') {
    line += c;
  }
  close(fds[0]);
  address_ = line;
}

PrivateBus::~PrivateBus() {
  if (pid_ > 0) reap(pid_);
}

bool PrivateBus::waitForName(const std::string &name, double seconds) const {
  if (address_.empty()) return false;
  auto connection = sdbus::createSessionBusConnectionWithAddress(address_);
  auto proxy = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000));
  while (std::chrono::steady_clock::now() < deadline) {
    bool owned = false;
    proxy->callMethod("NameHasOwner")
        .onInterface("org.freedesktop.DBus")
        .withArguments(name)
        .storeResultsTo(owned);
    if (owned) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

ChildProcess::ChildProcess(const std::vector<std::string> &argv,
                           const std::vector<std::string> &environment)
    : pid_(spawn(argv, environment, -1)) {}

ChildProcess::~ChildProcess() {
  stop();
}

int ChildProcess::stop() {
  if (pid_ <= 0) return -1;
  const int status = reap(pid_);
  pid_ = -1;
  return status;
}

BluezMock::BluezMock(const PrivateBus &bus)
    : bus_(bus), process_({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "bluez5",
                           "--logfile", "/dev/null"},
                          {"DBUS_SYSTEM_BUS_ADDRESS=" + bus.address()}) {
  ready_ = process_.started() && bus.waitForName("org.bluez", 10.0);
}

void BluezMock::mock(const std::string &method, const std::vector<std::string> &arguments) {
  auto connection = sdbus::createSessionBusConnectionWithAddress(bus_.address());
  auto proxy = sdbus::createProxy(*connection, "org.bluez", "/org/bluez");
  auto call = proxy->createMethodCall("org.bluez.Mock", method);
  for (const auto &argument : arguments)
    call << argument;
  proxy->callMethod(call);
}

void BluezMock::update(const std::string &path, const std::string &interface,
                       const std::map<std::string, sdbus::Variant> &properties) {
  auto connection = sdbus::createSessionBusConnectionWithAddress(bus_.address());
  auto proxy = sdbus::createProxy(*connection, "org.bluez", path);
  proxy->callMethod("UpdateProperties")
      .onInterface("org.freedesktop.DBus.Mock")
      .withArguments(interface, properties);
}

void BluezMock::emitChanged(const std::string &path, const std::string &interface,
                            const std::map<std::string, sdbus::Variant> &properties) {
  auto connection = sdbus::createSessionBusConnectionWithAddress(bus_.address());
  auto proxy = sdbus::createProxy(*connection, "org.bluez", path);
  const std::vector<sdbus::Variant> arguments{sdbus::Variant(interface), sdbus::Variant(properties),
                                              sdbus::Variant(std::vector<std::string>{})};
  proxy->callMethod("EmitSignal")
      .onInterface("org.freedesktop.DBus.Mock")
      .withArguments(std::string("org.freedesktop.DBus.Properties"),
                     std::string("PropertiesChanged"), std::string("sa{sv}as"), arguments);
}

void BluezMock::replaceMethod(const std::string &path, const std::string &interface,
                              const std::string &method, const std::string &code) {
  auto connection = sdbus::createSessionBusConnectionWithAddress(bus_.address());
  auto proxy = sdbus::createProxy(*connection, "org.bluez", path);
  proxy->callMethod("AddMethod")
      .onInterface("org.freedesktop.DBus.Mock")
      .withArguments(interface, method, std::string(), std::string(), code);
}

} // namespace zv::test
