#pragma once

// The inside of a ZVVirtualPrinter: its engine, its faults, and its end of
// the simulated radio link.

#include "backends/sim/printer_engine.h"

#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <memory>
#include <set>
#include <string>

namespace zv::detail {

class SimPeripheral;

namespace gatt {
inline constexpr const char *kIsscService = "49535343-FE7D-4AE5-8FA9-9FAFD205E455";
inline constexpr const char *kIsscRead = "49535343-1E4D-4BD9-BA61-23C647249616";
inline constexpr const char *kIsscWrite = "49535343-8841-43F4-A8D4-ECBE34729BB3";
inline constexpr const char *kIvtService = "FF00";
inline constexpr const char *kIvtRead = "FF01";
inline constexpr const char *kIvtWrite = "FF02";
inline constexpr const char *kIvtFlowControl = "FF03";
inline constexpr const char *kDeviceInformation = "180A";
inline constexpr const char *kModelNumber = "2A24";
inline constexpr const char *kFirmwareRevision = "2A26";
inline constexpr const char *kBatteryService = "180F";
inline constexpr const char *kBatteryLevel = "2A19";
} // namespace gatt

/// What the module does with one write.
struct WriteOutcome {
  bool rejected = false;    ///< refused: a write with response gets an error
  bool acknowledged = true; ///< a write with response gets an answer at all
};

struct VirtualPrinterState {
  explicit VirtualPrinterState(ZVVirtualPrinterConfig configuration);

  /// A central opened a link; the printer talks through @p link on @p loop.
  void connected(const std::shared_ptr<SimPeripheral> &link, ZVRunLoop &loop);
  void disconnected();
  /// The central switched notifications of @p uuid on or off.
  void subscribed(const std::string &uuid, bool enabled);
  /// Whether a write used one of the IVT module's buffers.
  enum class Credit { NotNeeded, Spent, Missing };
  /// A write reached the printer (after the link's delay). Credit::Missing:
  /// the host wrote on FF02 holding no credit, so the module has no buffer.
  WriteOutcome written(const std::string &uuid, const ZVData &value, Credit credit);
  /// The host writes on FF02: false if it holds no credit.
  bool spendCredit();

  void sendReplies(const std::vector<ZVData> &replies);
  void sendFlowControl(ZVData message);
  void grantCredits(uint32_t count);
  std::string replyCharacteristic() const;

  ZVVirtualPrinterConfig config;
  ZVVirtualPrinterFaults faults;
  std::string identifier;
  PrinterEngine engine;

  std::weak_ptr<SimPeripheral> link;
  ZVRunLoop *loop = nullptr;
  std::shared_ptr<ZVTimer> finishTimer;
  std::shared_ptr<ZVTimer> creditTimer;
  int64_t hostCredits = 0; // credits the host holds now (IVT)
  uint32_t creditsToReturn = 0;
  std::string lastDataChannel;         // characteristic of the last data write
  std::set<std::string> subscriptions; // characteristics the host listens on
  uint64_t linkWrites = 0;             // data writes on the current link
};

/// A stable upper-case UUID made from the printer's name and address.
std::string identifierFor(const ZVVirtualPrinterConfig &config);

} // namespace zv::detail
