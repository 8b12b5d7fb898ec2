/// @file ZVVirtualPrinter.h
/// @brief A simulated thermal printer: it advertises, accepts a link from
/// ZVSimCentral, prints what it is sent onto paper that can be saved as a
/// PNG, and answers as a printer does.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace zv::detail {
struct VirtualPrinterState;
class SimPeripheral;
} // namespace zv::detail

/// The Bluetooth module inside the printer.
enum class ZVVirtualPrinterProfile {
  /// Transparent UART service 49535343-FE7D-4AE5-8FA9-9FAFD205E455: data in
  /// on 49535343-8841-43F4-A8D4-ECBE34729BB3 (written with response, every
  /// write acknowledged), data out by notification on
  /// 49535343-1E4D-4BD9-BA61-23C647249616.
  ISSC,
  /// Service FF00: data out on FF01 (notify), data in on FF02 (written
  /// without response), flow control on FF03 (notify): the chunk size as
  /// 02 lo hi and credit grants as 01 n.
  IVT,
  /// A module offering both services; either data channel works.
  Both,
  /// Neither service (only a battery service "180F"): a printer no host can use.
  None,
};

/// How the printer is built and how its radio link behaves. Set before the
/// printer is added to a central.
struct ZVVirtualPrinterConfig {
  /// GAP device name (the peripheral's name).
  std::string name = "ZV-P1";
  /// Advertised local name; std::nullopt advertises none, "" an empty one.
  std::optional<std::string> advertisedName = "ZV-P1";
  /// The peripheral identifier; empty: a UUID made from the name.
  std::string identifier;
  ZVVirtualPrinterProfile profile = ZVVirtualPrinterProfile::ISSC;
  /// Offers Device Information (180A) with Model Number String (2A24).
  bool deviceInformation = true;
  bool connectable = true;
  /// Advertises the connectable flag at all; false leaves it out (which a
  /// host reads as "not connectable").
  bool advertiseConnectableFlag = true;
  /// Advertised manufacturer data: company id 0x565A (little-endian) first,
  /// then the printer's address DC:0D:30:1A:2B:3C.
  ZVData manufacturerData = {0x5A, 0x56, 0xDC, 0x0D, 0x30, 0x1A, 0x2B, 0x3C};
  int64_t rssi = -60;

  /// IVT: chunk size announced on FF03 at start-up.
  uint16_t ivtChunkSize = 244;
  /// IVT: credits granted at start-up (the module's receive buffers).
  uint8_t ivtInitialCredits = 5;
  /// IVT: the chunk size is announced before the first grant (else after).
  bool ivtAnnounceChunkSizeFirst = true;

  /// Link model: one connection event every connectionInterval seconds,
  /// each carrying at most packetsPerInterval packets in each direction;
  /// a write longer than attPayloadLimit bytes is refused.
  double connectionInterval = 0.0075;
  uint32_t packetsPerInterval = 4;
  uint32_t attPayloadLimit = 244;
  /// Time from connect() to the link being open.
  double connectDelay = 0.03;
  /// Extra time between a write arriving and its acknowledgement (writes
  /// with response), on top of the link's connection events.
  double acknowledgementDelay = 0.0;

  /// Dots the head prints per row; wider rows are clipped. 0: no limit.
  uint32_t headWidthDots = 0;
  /// Paper roll: the paper's area in packed bytes (dots / 8), every row
  /// counted as wide as the widest row printed. Rows beyond it are not
  /// printed and are reported as a stream error.
  uint64_t paperCapacityBytes = 64u << 20;
  /// Paper roll length in rows; 0: only paperCapacityBytes limits it.
  uint64_t paperLengthRows = 0;
  /// Idle time after the last print data before the job counts as printed.
  double printFinishDelay = 0.5;

  std::string modelName = "ZV-P1";
  std::string firmwareVersion = "1.0.3";
  std::string serialNumber = "ZV2026000001";
};

/// Faults to inject; change them at any time on the main queue. Write counts
/// start at 0 with the first data write of each link.
struct ZVVirtualPrinterFaults {
  /// Data writes (by index) that the module refuses: a write with response
  /// gets an error and its bytes are dropped; one without response is dropped.
  std::set<uint64_t> rejectedWrites;
  /// Data writes (by index) delivered but never acknowledged.
  std::set<uint64_t> lostAcknowledgements;
  /// The next this many IVT credit grants are never sent.
  uint64_t lostCreditGrants = 0;
  /// The printer sends nothing at all: no replies, no grants, no chunk size.
  bool silent = false;
  /// The link drops (with an error) once this many data bytes have arrived.
  std::optional<uint64_t> disconnectAfterBytes;
  /// Bytes sent in front of every reply, in the same notification.
  ZVData garbageBeforeReplies;
  /// Every reply is sent in two notifications, cut in the middle.
  bool splitReplies = false;
  /// The next this many firmware frames are refused (result byte 4).
  uint64_t firmwareRejections = 0;
  /// The next this many firmware frames get no acknowledgement at all.
  uint64_t firmwareSilences = 0;
  /// The printer is out of paper: nothing prints, the status says so.
  bool paperOut = false;
  /// connect() fails with an error, after connectDelay.
  bool refuseConnection = false;
  /// connect() never completes.
  bool ignoreConnection = false;
  /// Services are reported this many seconds later than the link would.
  double serviceDiscoveryDelay = 0.0;
  /// Service discovery is never answered.
  bool servicesNeverReported = false;
  /// Subscriptions to these characteristics (canonical UUIDs) fail: the
  /// notification state is reported with an error and stays off.
  std::set<std::string> failedSubscriptions;
};

/// What the printer has done so far.
struct ZVVirtualPrinterStatistics {
  uint64_t bytesReceived = 0;  ///< data bytes that reached the printer
  uint64_t writes = 0;         ///< data writes received (or refused)
  uint64_t creditOverruns = 0; ///< IVT writes beyond the granted credits (dropped)
  uint64_t printFrames = 0;    ///< print-data frames printed
  uint64_t bitmaps = 0;        ///< TSPL BITMAP commands drawn
  uint64_t labels = 0;         ///< TSPL labels fed out (copies count)
  uint64_t rowsPrinted = 0;    ///< rows on the paper
  uint64_t jobsFinished = 0;   ///< "dithering_finis" replies sent
  uint64_t firmwareFramesAccepted = 0;
  uint64_t firmwareFramesRejected = 0;
  uint64_t streamErrors = 0; ///< things in the stream it could not use
};

/// A virtual printer. Make it with std::make_shared, configure it, and add it
/// to a ZVSimCentral; or feed it bytes directly with receive().
///
/// Replies, each sent as one notification on the data-out characteristic
/// (ASCII text unless noted):
/// - status query ESC ! ? CR LF: "tarvo_sta=" + status byte. The status byte
///   always has bit 7 set; bit 0 = a job is printing, bit 2 = out of paper
///   (so 0x80 is idle and ready).
/// - status-back ESC ESC HT 1: from then on the status is also sent by
///   itself whenever it changes (job started, job finished); ESC ESC HT 3
///   switches that off.
/// - print finished: "dithering_finis" + 0x00, once a job has printed and no
///   print data has arrived for printFinishDelay seconds (TSPL jobs finish
///   at PRINT); input still incomplete then (a frame cut short) is dropped.
///   Nothing is sent for a job that found the paper out, nor for one with
///   damaged input (a stream error since the previous job ended: a frame cut
///   short, bytes it could not parse): the printer does not vouch for a job
///   it could not read whole.
/// - firmware frame: ESC FS & then five bytes A0..A4: A0..A2 the low 24 bits
///   of the frame's offset (little-endian), A3 the result, A4 = 0. Results:
///   0 accepted, 1 checksum mismatch, 2 image too large (over 16 MiB),
///   3 offset beyond the end of the image received so far, 4 refused
///   (injected). A frame may be sent again; it overwrites its place.
/// - disconnect request: "Disconnect_B" + a reason byte, sent when
///   requestDisconnect() is called (the printer's power button); the host is
///   expected to close the link.
/// - ESC FS & V1 getval "printer_name" / "printer_version" / "serial_no":
///   "printer_name=" + modelName (or "printer_version=", "serial_no=") + CR LF.
/// - getval "auto_wifi": "auto_wifi=WM:<STA|AP>;WS:<ssid>;WI:<ip>;WA:<auth>"
///   + CR LF (never the password).
/// - setval "auto_wifi" "<n><code>:<value>" with code WM, WS, WI, WP or WA:
///   "auto_wifi=OK" + CR LF, or "auto_wifi=ERROR" + CR LF for a field it
///   cannot read. do "restart_wifi": "restart_wifi=OK" + CR LF. Other
///   names: "<name>=ERROR" + CR LF.
///
/// Paper: print-data frames and TSPL bitmaps burn a dot for every bit of
/// value 0, as the printer's data format says. A raster in which 1 = dot
/// (the clustered mode's data) therefore comes out as its negative: the
/// printer cannot know, and prints what it is sent.
///
/// Threading: main queue only (the queue of the run loop the central uses).
class ZV_EXPORT ZVVirtualPrinter {
public:
  explicit ZVVirtualPrinter(ZVVirtualPrinterConfig config = {});
  ~ZVVirtualPrinter();
  ZVVirtualPrinter(const ZVVirtualPrinter &) = delete;
  ZVVirtualPrinter &operator=(const ZVVirtualPrinter &) = delete;

  const ZVVirtualPrinterConfig &config() const;
  /// The faults in force; change them freely.
  ZVVirtualPrinterFaults &faults();
  /// The peripheral identifier (an upper-case UUID).
  const std::string &identifier() const;

  /// Feeds bytes straight into the printer's input, bypassing the radio;
  /// returns the replies it made (before any reply faults).
  std::vector<ZVData> receive(std::span<const uint8_t> bytes);
  /// Ends the input: reports anything left incomplete and finishes the job.
  /// Returns the replies that made.
  std::vector<ZVData> endOfInput();

  /// Asks the connected host to disconnect ("Disconnect_B" + @p reason), as
  /// the printer does when its power button is pressed. Nothing happens
  /// without a link.
  void requestDisconnect(uint8_t reason = 0);

  /// The paper printed so far (black dots on white, 4 bytes a dot), or
  /// std::nullopt if nothing was printed or it exceeds ZVImage's caps.
  std::optional<ZVImage> paperImage() const;
  /// The paper as a 1-bit gray PNG (black dots on white, as wide as the
  /// widest row), encoded from the packed rows: it costs about the paper's
  /// packed size, never 4 bytes a dot. Empty if nothing was printed.
  ZVData paperPNG() const;
  /// Writes paperPNG() to @p path; false with a reason if nothing was
  /// printed or the file cannot be written.
  bool writePaperPNG(const std::string &path, std::string *error = nullptr) const;
  /// Rows on the paper, each packed with bit value 1 = dot.
  std::vector<ZVData> paperRows() const;
  /// The widest printed row, in dots.
  uint32_t paperWidthDots() const;

  /// The firmware image reassembled from accepted frames.
  const ZVData &firmwareImage() const;
  /// Current Wi-Fi settings as "WM:..;WS:..;WI:..;WP:..;WA:..".
  std::string wifiSettings() const;
  ZVVirtualPrinterStatistics statistics() const;
  /// What the printer could not use, one line each ("at byte N: reason").
  std::vector<std::string> streamErrors() const;
  /// One line per thing that happened, oldest first (capped at 10000).
  std::vector<std::string> log() const;
  /// Whether a central holds a link to the printer.
  bool isConnected() const;

  /// Changes the advertised local name (std::nullopt: none); seen by the
  /// next advertisement (ZVSimCentral::advertiseAgain()).
  void setAdvertisedName(std::optional<std::string> name);
  /// Changes the signal strength of the next advertisements.
  void setRSSI(int64_t rssi);

private:
  friend class zv::detail::SimPeripheral;
  std::unique_ptr<zv::detail::VirtualPrinterState> state_;
};
