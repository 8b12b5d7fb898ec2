#pragma once

// A rig for the connection layer: the simulated central installed (under the
// virtual clock unless a test picks the real one), virtual printers, and a
// delegate that records every event with the loop time it arrived at.

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVPeripheralManager.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include "support/sim_central.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zvtest {

inline constexpr const char *kIsscService = "49535343-FE7D-4AE5-8FA9-9FAFD205E455";
inline constexpr const char *kIsscRead = "49535343-1E4D-4BD9-BA61-23C647249616";
inline constexpr const char *kIsscWrite = "49535343-8841-43F4-A8D4-ECBE34729BB3";

/// Records connection events as "<event>" lines with their loop times, and
/// discovery reports apart from them.
class RecordingDelegate : public ZVPrinterInterfaceDelegate {
public:
  void didDiscoverBLEPrints(const std::vector<std::shared_ptr<ZVPrinterMessage>> &list) override {
    discoveries.push_back("discover " + std::to_string(list.size()));
    lastList = &list;
  }
  void didConnectSuccess() override { add("success"); }
  void didConnectFail(const ZVError &error) override {
    add("fail " + std::to_string(error.code));
    errors.push_back(error);
  }
  void didDisconnect(bool orderly) override { add(orderly ? "disconnect 1" : "disconnect 0"); }

  void clear() {
    events.clear();
    times.clear();
    errors.clear();
  }
  void add(std::string event) {
    events.push_back(std::move(event));
    times.push_back(ZVRunLoop::main().now());
  }
  size_t count(const std::string &event) const {
    return static_cast<size_t>(std::count(events.begin(), events.end(), event));
  }
  /// Loop time of the first @p event, or -1.
  double timeOf(const std::string &event) const {
    const auto it = std::find(events.begin(), events.end(), event);
    return it == events.end() ? -1 : times[static_cast<size_t>(it - events.begin())];
  }

  std::vector<std::string> discoveries;
  std::vector<std::string> events;
  std::vector<double> times;
  std::vector<ZVError> errors;
  const std::vector<std::shared_ptr<ZVPrinterMessage>> *lastList = nullptr;
};

/// Progress reports as "(total,completed)" and failures as "fail".
struct SendRecorder {
  std::vector<std::string> reports;
  std::vector<double> times;
  void install(ZVPeripheralManager &link) {
    link.setSendProgressBlock([this](const ZVProgress &progress) {
      reports.push_back("(" + std::to_string(progress.totalUnitCount) + "," +
                        std::to_string(progress.completedUnitCount) + ")");
      times.push_back(ZVRunLoop::main().now());
    });
    link.setSendFailedBlock([this] {
      reports.push_back("fail");
      times.push_back(ZVRunLoop::main().now());
    });
  }
};

class ConnectionTest : public ::testing::Test {
protected:
  void SetUp() override {
    installed_.emplace(clock, poweredOnAtStart);
    central = installed_->central;
    delegate = std::make_shared<RecordingDelegate>();
    facade().setDelegate(delegate);
    loop().runFor(0.001); // the central reports its first state
  }

  static ZVRunLoop &loop() { return ZVRunLoop::main(); }
  static ZVConnectInterface &facade() { return ZVConnectInterface::shared(); }
  static ZVBluetoothManager &manager() { return ZVBluetoothManager::shareInstance(); }
  static ZVPeripheralManager &link() { return ZVPeripheralManager::share(); }

  std::shared_ptr<ZVVirtualPrinter> addPrinter(ZVVirtualPrinterConfig config = {}) {
    auto printer = std::make_shared<ZVVirtualPrinter>(std::move(config));
    central->addPrinter(printer);
    return printer;
  }
  static ZVVirtualPrinterConfig ivtConfig() {
    ZVVirtualPrinterConfig config;
    config.profile = ZVVirtualPrinterProfile::IVT;
    return config;
  }

  /// Scans until @p printer's record is listed, and returns it.
  std::shared_ptr<ZVPrinterMessage> scanFor(const std::shared_ptr<ZVVirtualPrinter> &printer) {
    facade().scanBluetooth();
    std::shared_ptr<ZVPrinterMessage> found;
    loop().runUntil(
        [&] {
          for (const auto &record : manager().devices()) {
            if (record->identifier == printer->identifier()) found = record;
          }
          return found != nullptr;
        },
        10.0);
    return found;
  }

  /// Scans, connects and waits until the link is usable.
  std::shared_ptr<ZVPrinterMessage> connect(const std::shared_ptr<ZVVirtualPrinter> &printer) {
    auto record = scanFor(printer);
    if (!record) return nullptr;
    facade().connectPrinter(record);
    if (!loop().runUntil([] { return facade().isConnected(); }, 10.0)) return nullptr;
    loop().runFor(0.05); // let the start-up traffic settle
    return record;
  }

  /// The central's calls that match @p prefix.
  std::vector<std::string> calls(const std::string &prefix) const {
    std::vector<std::string> matching;
    for (const auto &call : central->calls()) {
      if (call.rfind(prefix, 0) == 0) matching.push_back(call);
    }
    return matching;
  }

  ZVRunLoop::Clock clock = ZVRunLoop::Clock::Virtual;
  bool poweredOnAtStart = true;
  std::optional<InstalledSimCentral> installed_;
  std::shared_ptr<ZVSimCentral> central;
  std::shared_ptr<RecordingDelegate> delegate;
};

inline ZVData bytesOf(size_t length, uint8_t seed = 1) {
  ZVData data(length);
  for (size_t i = 0; i < length; ++i)
    data[i] = static_cast<uint8_t>(seed + i * 7);
  return data;
}

} // namespace zvtest
