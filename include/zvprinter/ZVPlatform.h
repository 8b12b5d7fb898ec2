/// @file ZVPlatform.h
/// @brief Chooses the Bluetooth backend that the library uses.
#pragma once

#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVExport.h>

#include <functional>
#include <memory>

/// Where the library gets its Bluetooth central from. ZVBluetoothManager
/// calls makeCentral() once, when it is first used; set the factory before
/// that (tests, the CLI and applications on other platforms do).
///
/// Without a factory, makeCentral() returns a simulated central (ZVSimCentral
/// on ZVRunLoop::main()) with no printers in range, so nothing is found but
/// nothing fails either.
///
/// Thread safety: both calls may be made from any thread.
class ZV_EXPORT ZVPlatform {
public:
  using CentralFactory = std::function<std::shared_ptr<ZVBleCentral>()>;

  /// Installs the factory; an empty one restores the default.
  static void setCentralFactory(CentralFactory factory);
  /// Makes a central with the installed factory.
  static std::shared_ptr<ZVBleCentral> makeCentral();
};
