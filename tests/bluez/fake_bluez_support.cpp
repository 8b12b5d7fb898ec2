#include "bluez/fake_bluez_service.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <deque>
#include <map>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace zv::test {

FakeBluez::FakeBluez(std::string busAddress, FakeBluezConfig config) : config_(std::move(config)) {
  ZVVirtualPrinterConfig printerConfig;
  printerConfig.name = config_.name;
  printerConfig.profile = config_.profile;
  printer_ = std::make_shared<ZVVirtualPrinter>(printerConfig);
  thread_ = std::thread([this, busAddress] { run(busAddress); });
  for (int i = 0; i < 500 && !ready_.load() && running_.load(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

FakeBluez::~FakeBluez() {
  stop();
}

void FakeBluez::stop() {
  running_.store(false);
  if (thread_.joinable()) thread_.join();
}

std::string FakeBluez::discoveryTransport() const {
  std::lock_guard lock(transportMutex_);
  return transport_;
}

void FakeBluez::run(std::string busAddress) {
  std::unique_ptr<Service> service;
  try {
    service = std::make_unique<Service>(*this, busAddress);
  } catch (const sdbus::Error &) {
    running_.store(false);
    return;
  }
  ready_.store(true);
  while (running_.load()) {
    while (service->connection->processPendingRequest()) {
    }
    if (dropRequested_.exchange(false)) service->setConnected(false);
    service->flushNotifications();
    service->finishIdleJob();
    const auto pollData = service->connection->getEventLoopPollData();
    std::vector<pollfd> descriptors{{pollData.fd, pollData.events, 0}};
    for (int fd : service->sockets)
      descriptors.push_back({fd, POLLIN, 0});
    // Nothing arrives for a poll period: the bearers have delivered all.
    if (::poll(descriptors.data(), descriptors.size(), 20) == 0) service->flushBearers();
    service->readSockets();
  }
}

} // namespace zv::test
