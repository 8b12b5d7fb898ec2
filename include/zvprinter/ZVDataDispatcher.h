/// @file ZVDataDispatcher.h
/// @brief The application's one entry for moving bytes to and from the
/// connected printer.
#pragma once

#include <zvprinter/ZVDataResolver.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVTypes.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// Outbound, hands print data and commands to the peripheral link's write
/// path (ZVPeripheralManager::sendDataToPrinter) and starts firmware
/// transfers (ZVFirmwareDispatcher). Inbound, holds the callbacks that the
/// reply processor fires and the raw receive callback.
///
/// Sending requires ZVConnectInterface::isConnected() and mode() 1
/// (Bluetooth LE); otherwise the bytes are dropped and nothing is reported.
///
/// Inbound order, for each non-empty value the printer notifies while
/// connected: the link's reply processor (status, print finished and
/// firmware acknowledgements first clear receiveDataBlock(), then fire their
/// callback), then resolver() if set, then receiveDataBlock() if it is still
/// set. So receiveDataBlock() sees raw notifications until the first one that
/// holds a recognised status, print-finished or acknowledgement reply.
///
/// The callbacks are plain properties: whoever sets one last replaces it.
///
/// Threading: the write operations and clearBufferData() belong on the main
/// queue (ZVRunLoop::main()), like the link they drive. The inbound callbacks
/// are called on the main queue, where the link delivers notifications. The
/// property accessors may be used from any thread: each property is read
/// and written under a lock, and a callback is copied out before it is
/// called, so a callback may replace itself or any other.
class ZV_EXPORT ZVDataDispatcher {
public:
  /// One notification value, as received.
  using ReceiveDataBlock = std::function<void(const ZVData &)>;
  /// The printer's status byte with its top bit cleared (0..127).
  using TarvoStateBlock = std::function<void(int64_t status)>;
  /// The printer said the job is printed; always given 0.
  using PrintCompleteBlock = std::function<void(int64_t)>;
  /// Byte counts of a write, or slice counts of a firmware transfer.
  using ProgressBlock = std::function<void(const ZVProgress &)>;
  using FailBlock = std::function<void()>;

  /// The dispatcher, made on first use (thread-safe); it lives until the
  /// process ends.
  static ZVDataDispatcher &shared();

  /// Sends @p data when connected in mode 1: clears the link's progress
  /// callback, then ZVPeripheralManager::sendDataToPrinter.
  void writeData(const ZVData &data);
  /// As writeData(data), then installs @p progress and @p fail as the link's
  /// progress and failure callbacks (after sendDataToPrinter returned, so
  /// before any report, which the link always posts). Nothing is installed
  /// when the bytes are dropped.
  void writeData(const ZVData &data, ProgressBlock progress, FailBlock fail);
  /// Starts a firmware transfer of @p slices (see ZVFirmwareDispatcher):
  /// only in mode 1; in any other mode nothing is sent and neither callback
  /// is ever called. @p progress counts slices.
  void writeFirmwareData(std::vector<ZVFirmwareSlice> slices, ProgressBlock progress,
                         FailBlock fail);
  /// Removes the link's progress and failure callbacks, then drops the bytes
  /// not yet written (ZVPeripheralManager::stopSendData), so nothing of the
  /// interrupted write reaches the application.
  void clearBufferData();

  /// Stores @p block as receiveDataBlock().
  void receiveBluetoothDataBlock(ReceiveDataBlock block) { setReceiveDataBlock(std::move(block)); }
  /// Stores @p block as autoTarvoStateBlock().
  void autoTarvoDeviceStateBlock(TarvoStateBlock block) {
    setAutoTarvoStateBlock(std::move(block));
  }
  /// Stores @p block as printImageCompleteBlock().
  void imagePrintCompleteBlock(PrintCompleteBlock block) {
    setPrintImageCompleteBlock(std::move(block));
  }

  /// An extra resolver that sees every notification after the processor.
  std::shared_ptr<ZVDataResolver> resolver() const;
  void setResolver(std::shared_ptr<ZVDataResolver> resolver);
  ReceiveDataBlock receiveDataBlock() const;
  void setReceiveDataBlock(ReceiveDataBlock block);
  TarvoStateBlock autoTarvoStateBlock() const;
  void setAutoTarvoStateBlock(TarvoStateBlock block);
  PrintCompleteBlock printImageCompleteBlock() const;
  void setPrintImageCompleteBlock(PrintCompleteBlock block);

  ZVDataDispatcher(const ZVDataDispatcher &) = delete;
  ZVDataDispatcher &operator=(const ZVDataDispatcher &) = delete;

private:
  ZVDataDispatcher() = default;

  mutable std::mutex mutex_;
  std::shared_ptr<ZVDataResolver> resolver_;
  ReceiveDataBlock receiveDataBlock_;
  TarvoStateBlock autoTarvoStateBlock_;
  PrintCompleteBlock printImageCompleteBlock_;
};
