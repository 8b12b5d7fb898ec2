/// @file ZVPeripheralManager.h
/// @brief The link to the connected printer: service discovery, the two
/// module profiles, routing of incoming values, and the chunked,
/// credit-flow-controlled write path.
#pragma once

#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSerialQueue.h>
#include <zvprinter/ZVTarvoDataProcessor.h>
#include <zvprinter/ZVTypes.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>

/// The printer's Bluetooth module.
enum ZVBLEVender : int64_t {
  /// Transparent UART service 49535343-FE7D-4AE5-8FA9-9FAFD205E455: writes
  /// with response, one chunk of 127 bytes in flight.
  ZVBLEVenderISSC = 0,
  /// Service FF00: FF01 in, FF02 out without response, FF03 flow control
  /// (chunk size and credit grants).
  ZVBLEVenderIVT = 1,
};

/// One per process (share()). ZVBluetoothManager hands it the peripheral
/// when the link opens; it then discovers the services (3.0 s time-out),
/// recognises the module profile, subscribes, and declares the link usable
/// (ZVConnectInterface::isConnected(), didConnectSuccess()). From then on
/// every value from the printer goes, in this order, to processer(), to the
/// data dispatcher's resolver and to its receive callback; everything sent
/// to the printer goes through sendDataToPrinter().
///
/// Write path: the bytes join one send buffer, written from the serial
/// queue "vantu.ble.write.queue" in chunks of MTU() bytes, one credit per
/// chunk. ISSC holds one credit that each acknowledgement returns; IVT
/// holds the credits the module grants on FF03. The send completes when the
/// buffer is empty and every credit is back, or 2.0 s after the last chunk
/// left. Progress is reported as byte counts: (0, 0) at every
/// sendDataToPrinter(), (total, sent) after each chunk but the last, and
/// (total, total) once at completion. totalCount() adds the whole buffer
/// length at each sendDataToPrinter(), so bytes still waiting are counted
/// twice. A report of a chunk is dropped when, by the time it runs, the
/// buffer is already empty (a pass that took the last chunk too). A rejected
/// write (ISSC) clears the buffer and totalCount() and calls the failure
/// callback once; if it was the last chunk, the end-of-send timer it armed
/// still restores the credit and reports completion with the count left,
/// (0, 0) unless new bytes were sent since.
///
/// Defined where the module's behaviour leaves it open:
/// - An FF03 message shorter than its kind needs (kind 1 without a count,
///   kind 2 without both size bytes, or an empty value) is treated as a
///   message of unknown kind: it changes nothing, and once connected it
///   still triggers sendDataToPeripheral().
/// - An announced chunk size of 0 keeps the current MTU() (a write pass
///   could never empty the buffer with 0-byte chunks) but still counts as
///   the chunk size received for start-up.
/// - A timer acts only while it is still the one stored in its field
///   (serviceTimer(), dataSuccessTimer()); a cleared or replaced timer does
///   nothing, and an invalidated one never fires.
/// - A value error while not connected changes nothing.
///
/// Threading: every member is called on the main queue except the write
/// pass, which runs on writeQueue() (its own thread under the real clock,
/// the main thread under the virtual clock). The fields the write pass
/// touches (the buffer, totalCount(), credit(), ivtMaxCredit(), MTU(),
/// writeType(), characteristicWrite(), peripheral(), isConnected()) are
/// guarded by one lock, taken for each step, so their accessors are safe
/// from any thread; the rest is main-queue only. The two callbacks are
/// always called on the main queue.
class ZV_EXPORT ZVPeripheralManager : public ZVBlePeripheralDelegate {
public:
  using SendProgressBlock = std::function<void(const ZVProgress &)>;
  using SendFailedBlock = std::function<void()>;

  /// The link manager, made on first use (thread-safe).
  static ZVPeripheralManager &share();

  // Connection.
  /// Stores @p peripheral and becomes its delegate before its link opens
  /// (reconnection by identifier).
  void setRetrievePeripheral(const std::shared_ptr<ZVBlePeripheral> &peripheral);
  /// The link to @p peripheral opened: a new processer(), then discovery of
  /// the ISSC, "180A" and "FF00" services with a 3.0 s time-out.
  void setPeripheralDelegate(const std::shared_ptr<ZVBlePeripheral> &peripheral);
  /// Resets the per-connection state: not connected, empty buffer,
  /// totalCount() 0, isSendSuccess() false, loadInfo() 0. Profile, MTU,
  /// credits and characteristics are kept.
  void initConnectProperties();
  /// Declares the link usable and tells the facade and its delegate.
  void didConnectPrinterSuccess();
  /// The 3.0 s service-discovery time-out's action.
  void whenDiscoverServicesTimeout();

  // Writing.
  /// Queues @p data for the printer. Nothing happens (and nothing is
  /// reported) for empty data, without a write characteristic or peripheral,
  /// or when not connected. Main queue.
  void sendDataToPrinter(std::span<const uint8_t> data);
  /// Drops the unsent bytes and marks the send finished; credits, timers and
  /// callbacks stay as they are. Main queue.
  void stopSendData();
  /// Completes the send if it is done, then submits a write pass.
  void sendDataToPeripheral();
  /// The 2.0 s end-of-send timer's action: restores every credit and
  /// reports completion.
  void successTimerAction();

  // Profile handlers (called from the peripheral's reports).
  void ISSCDidDiscoverCharacteristicsForService(const std::shared_ptr<ZVBleService> &service,
                                                const std::shared_ptr<ZVBlePeripheral> &peripheral);
  void IVTCDidDiscoverCharacteristicsForService(const std::shared_ptr<ZVBleService> &service,
                                                const std::shared_ptr<ZVBlePeripheral> &peripheral);
  void
  ISSCdidUpdateValueForCharacteristic(const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                                      const std::shared_ptr<ZVBlePeripheral> &peripheral);
  void
  IVTdidUpdateValueForCharacteristic(const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                                     const std::shared_ptr<ZVBlePeripheral> &peripheral);

  // ZVBlePeripheralDelegate: the peripheral's reports (main queue).
  void didDiscoverServices(const std::shared_ptr<ZVBlePeripheral> &peripheral,
                           const std::optional<ZVError> &error) override;
  void didDiscoverCharacteristics(const std::shared_ptr<ZVBlePeripheral> &peripheral,
                                  const std::shared_ptr<ZVBleService> &service,
                                  const std::optional<ZVError> &error) override;
  void didUpdateValue(const std::shared_ptr<ZVBlePeripheral> &peripheral,
                      const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                      const std::optional<ZVError> &error) override;
  void didWriteValue(const std::shared_ptr<ZVBlePeripheral> &peripheral,
                     const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                     const std::optional<ZVError> &error) override;
  void didUpdateNotificationState(const std::shared_ptr<ZVBlePeripheral> &peripheral,
                                  const std::shared_ptr<ZVBleCharacteristic> &characteristic,
                                  const std::optional<ZVError> &error) override;
  /// Does nothing: the link never asks for the signal strength.
  void didReadRSSI(const std::shared_ptr<ZVBlePeripheral> &peripheral, int64_t rssi,
                   const std::optional<ZVError> &error) override;

  // Fields guarded by the send lock (any thread).
  bool isConnected() const;
  void setIsConnected(bool connected);
  int64_t writeType() const;
  void setWriteType(int64_t type);
  std::shared_ptr<ZVBleCharacteristic> characteristicWrite() const;
  void setCharacteristicWrite(std::shared_ptr<ZVBleCharacteristic> characteristic);
  std::shared_ptr<ZVBlePeripheral> peripheral() const;
  void setPeripheral(std::shared_ptr<ZVBlePeripheral> peripheral);
  int64_t ivtMaxCredit() const;
  void setIvtMaxCredit(int64_t credits);
  int64_t MTU() const;
  void setMTU(int64_t bytes);
  int64_t credit() const;
  void setCredit(int64_t credits);
  /// A copy of the bytes not yet written.
  ZVData totalData() const;
  void setTotalData(ZVData data);
  int64_t totalCount() const;
  void setTotalCount(int64_t count);
  bool isSendSuccess() const;
  void setIsSendSuccess(bool done);

  // Main-queue fields.
  uint8_t loadInfo() const { return loadInfo_; }
  void setLoadInfo(uint8_t bits) { loadInfo_ = bits; }
  /// The reply processor of the current connection (a new one per link).
  const std::shared_ptr<ZVTarvoDataProcessor> &processer() const { return processer_; }
  void setProcesser(std::shared_ptr<ZVTarvoDataProcessor> processor) {
    processer_ = std::move(processor);
  }
  const std::shared_ptr<ZVTimer> &dataSuccessTimer() const { return dataSuccessTimer_; }
  void setDataSuccessTimer(std::shared_ptr<ZVTimer> timer) { dataSuccessTimer_ = std::move(timer); }
  const std::shared_ptr<ZVTimer> &serviceTimer() const { return serviceTimer_; }
  void setServiceTimer(std::shared_ptr<ZVTimer> timer) { serviceTimer_ = std::move(timer); }
  /// A ZVBLEVender value.
  int64_t BLEVender() const { return BLEVender_; }
  void setBLEVender(int64_t vender) { BLEVender_ = vender; }
  const std::shared_ptr<ZVBleCharacteristic> &characteristicRead() const {
    return characteristicRead_;
  }
  void setCharacteristicRead(std::shared_ptr<ZVBleCharacteristic> characteristic) {
    characteristicRead_ = std::move(characteristic);
  }
  const std::shared_ptr<ZVBleCharacteristic> &characteristicFlowControl() const {
    return characteristicFlowControl_;
  }
  void setCharacteristicFlowControl(std::shared_ptr<ZVBleCharacteristic> characteristic) {
    characteristicFlowControl_ = std::move(characteristic);
  }
  /// The serial queue "vantu.ble.write.queue" on ZVRunLoop::main().
  ZVSerialQueue &writeQueue() { return writeQueue_; }
  /// Called on the main queue with byte counts; may be unset.
  const SendProgressBlock &sendProgressBlock() const { return sendProgressBlock_; }
  void setSendProgressBlock(SendProgressBlock block) { sendProgressBlock_ = std::move(block); }
  /// Called on the main queue when a write is rejected; may be unset.
  const SendFailedBlock &sendFailedBlock() const { return sendFailedBlock_; }
  void setSendFailedBlock(SendFailedBlock block) { sendFailedBlock_ = std::move(block); }

  ZVPeripheralManager(const ZVPeripheralManager &) = delete;
  ZVPeripheralManager &operator=(const ZVPeripheralManager &) = delete;

private:
  ZVPeripheralManager();
  void writePass();
  void postProgress(ZVProgress progress, bool onlyWhileDataWaits);
  void armSuccessTimer();

  // Guarded by sendMutex_.
  mutable std::mutex sendMutex_;
  bool isConnected_ = false;
  bool isSendSuccess_ = false;
  int64_t writeType_ = 0;
  std::shared_ptr<ZVBleCharacteristic> characteristicWrite_;
  std::shared_ptr<ZVBlePeripheral> peripheral_;
  int64_t ivtMaxCredit_ = 0;
  int64_t MTU_ = 0;
  int64_t credit_ = 0;
  ZVData totalData_; // bytes before sendHead_ are written already
  size_t sendHead_ = 0;
  int64_t totalCount_ = 0;

  // Main queue only.
  uint8_t loadInfo_ = 0;
  std::shared_ptr<ZVTarvoDataProcessor> processer_;
  std::shared_ptr<ZVTimer> dataSuccessTimer_;
  std::shared_ptr<ZVTimer> serviceTimer_;
  int64_t BLEVender_ = 0;
  std::shared_ptr<ZVBleCharacteristic> characteristicRead_;
  std::shared_ptr<ZVBleCharacteristic> characteristicFlowControl_;
  SendProgressBlock sendProgressBlock_;
  SendFailedBlock sendFailedBlock_;
  ZVSerialQueue writeQueue_;
  // The peripheral holds its delegate weakly; this non-owning handle to the
  // process-lifetime singleton is what it holds.
  std::shared_ptr<ZVBlePeripheralDelegate> selfAsDelegate_;
};
