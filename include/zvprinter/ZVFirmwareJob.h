/// @file ZVFirmwareJob.h
/// @brief A firmware update that is complete only when the printer accepted
/// every frame.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVJobTypes.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zv::detail {
class JobRun;
}

/// What a person should see before a firmware image goes to a printer.
struct ZVFirmwareImageFacts {
  uint64_t bytes = 0;  ///< size of the file
  uint64_t frames = 0; ///< acknowledged frames it is sent in
  uint32_t crc32 = 0;  ///< standard CRC-32 of the file (as zlib computes it)
};

struct ZVFirmwareJobOptions {
  ZVPrinterTarget printer;
  ZVJobConnectOptions connection;
  /// Repeats of one frame before the update fails (ZVFirmwareDispatcher).
  int64_t maxResendCount = 5;
};

/// One firmware update: connect (as ZVPrintJob does), then the frames of
/// ZVPackProtocol one at a time through a ZVFirmwareDispatcher (7.0 s per
/// acknowledgement, maxResendCount repeats shared by rejections and
/// silences).
///
/// Outcomes, exactly one: succeeded only when the last frame was accepted
/// (progress N of N); otherwise failed with FirmwareRejected (a frame
/// refused or unanswered too often), LinkLost (Bluetooth switched off
/// included), Stalled (no frame accepted for longer than the sender's own
/// repeats can take, which covers a link that stopped taking writes),
/// InvalidJob (no frames, or an empty frame), Cancelled, or a connection
/// failure. When the job ends for any reason its sender stops: no frame is
/// sent after the outcome. Progress counts frames (ZVJobProgress::completed
/// of total); ZVJobResult::bytesSent/bytesTotal hold frame counts too.
///
/// Threading as ZVPrintJob: start() and cancel() from any thread, run() on a
/// thread where nothing else runs the main queue; callbacks on the main queue.
class ZV_EXPORT ZVFirmwareJob {
public:
  explicit ZVFirmwareJob(std::vector<ZVFirmwareSlice> slices, ZVFirmwareJobOptions options = {});
  /// A job sending @p image cut into frames by ZVPackProtocol. When
  /// refusal() has a reason against @p image, the job fails with InvalidJob
  /// and that reason before connecting: nothing is sent.
  static ZVFirmwareJob forImage(const ZVData &image, ZVFirmwareJobOptions options = {});
  /// Why @p image is plainly not firmware (empty; a picture, a document or
  /// an archive known by its first bytes; text), or std::nullopt. The boot
  /// loader accepts any frames whose checksums match, so such a file would
  /// be written over the printer's firmware.
  static std::optional<std::string> refusal(const ZVData &image);
  /// Size, frame count and CRC-32 of @p image, to show before sending.
  static ZVFirmwareImageFacts facts(const ZVData &image);
  ZVFirmwareJob(const ZVFirmwareJob &) = delete;
  ZVFirmwareJob &operator=(const ZVFirmwareJob &) = delete;
  ZVFirmwareJob(ZVFirmwareJob &&other) noexcept;

  void setProgressHandler(ZVJobProgressHandler handler);
  void start(ZVJobCompletion completion);
  ZVJobResult run();
  void cancel();

private:
  std::vector<ZVFirmwareSlice> slices_;
  ZVFirmwareJobOptions options_;
  std::optional<std::string> refusal_;
  ZVJobProgressHandler progress_;
  std::mutex mutex_;
  std::weak_ptr<zv::detail::JobRun> run_;
};
