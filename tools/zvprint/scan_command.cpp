// zvprint scan: the printers in range, as a table or as JSON.

#include "cli_support.h"
#include "commands.h"
#include "printer_backend.h"

#include <zvprinter/ZVBluetoothManager.h>
#include <zvprinter/ZVConnectInterface.h>
#include <zvprinter/ZVRunLoop.h>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>

namespace zvprint {

namespace {

struct ScanOptions {
  double seconds = 3.0;
  bool json = false;
  BackendOptions backend;
};

std::string orEmpty(const std::optional<std::string> &text) {
  return text.value_or("");
}

void runScan(const ScanOptions &options) {
  const Backend backend = installBackend(options.backend);
  auto &facade = ZVConnectInterface::shared();
  auto &loop = ZVRunLoop::main();
  facade.scanBluetooth();
  loop.runFor(options.seconds);
  facade.stopScanBluetooth();
  const auto &devices = ZVBluetoothManager::shareInstance().devices();

  if (options.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto &record : devices) {
      list.push_back({{"name", orEmpty(record->name)},
                      {"mac", orEmpty(record->mac)},
                      {"identifier", orEmpty(record->identifier)},
                      {"distance", record->distance.value_or(0.0f)}});
    }
    std::cout << list.dump(2) << "\n";
    return;
  }
  if (devices.empty()) {
    std::printf("no printers found\n");
    return;
  }
  std::printf("%-20s %-17s %-36s %s\n", "NAME", "MAC", "IDENTIFIER", "DISTANCE");
  for (const auto &record : devices) {
    std::printf("%-20s %-17s %-36s %.2f\n", orEmpty(record->name).c_str(),
                orEmpty(record->mac).c_str(), orEmpty(record->identifier).c_str(),
                static_cast<double>(record->distance.value_or(0.0f)));
  }
}

} // namespace

void addScanCommand(CLI::App &app) {
  auto options = std::make_shared<ScanOptions>();
  CLI::App *command = app.add_subcommand("scan", "List the printers in range");
  command->add_option("--time", options->seconds, "Seconds to scan")
      ->check(CLI::Range(0.0, 3600.0))
      ->capture_default_str();
  command->add_flag("--json", options->json, "Print a JSON array");
  addBackendOptions(*command, options->backend);
  command->callback([options] { runScan(*options); });
}

} // namespace zvprint
