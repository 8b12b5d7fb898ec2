#include "imaging/streamed_conversion.h"

#include <zvprinter/ZVBitmapManager.h>

#include "imaging/conversion_output.h"
#include "platform/image_codec.h"
#include "platform/row_gate.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

namespace zv::detail {

namespace {

// Receives the decoder's rows on the decoding thread and shows them to the
// converting thread: the header through a condition variable, the rows
// through the gate.
class SharedPixels final : public PixelReceiver {
public:
  uint8_t *begin(uint32_t width, uint32_t height, bool opaque) override {
    const size_t size = size_t{width} * height * 4;
    try {
      // Opaque pixels are converted as they arrive and never read before
      // they are written: no need to zero them first.
      if (opaque) {
        raw_ = std::make_unique_for_overwrite<uint8_t[]>(size);
      } else {
        whole_.resize(size);
      }
    } catch (const std::bad_alloc &) {
      return nullptr;
    }
    std::lock_guard lock(mutex_);
    width_ = width;
    height_ = height;
    opaque_ = opaque;
    begun_ = true;
    state_ = State::Started;
    changed_.notify_all();
    return opaque ? raw_.get() : whole_.data();
  }

  void rowsDone(uint32_t rows) override {
    published_ = rows;
    gate_.publish(rows);
  }

  // On the decoding thread, when the decoder has returned.
  void finish(bool decoded) {
    std::lock_guard lock(mutex_);
    if (!decoded && begun_ && opaque_) {
      // Let a conversion that waits for rows run to its end on defined bytes;
      // its result is discarded. Published rows may be being read: untouched.
      const size_t stride = size_t{width_} * 4;
      std::fill(raw_.get() + stride * published_, raw_.get() + stride * height_, uint8_t{0});
      gate_.publish(height_);
    }
    decoded_ = decoded;
    state_ = State::Finished;
    changed_.notify_all();
  }

  // On the converting thread: whether the pixels arrive band by band
  // (begin() called for an opaque image) rather than only when finished.
  bool awaitStart() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return state_ != State::Waiting; });
    return begun_ && opaque_;
  }

  bool awaitFinish() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return state_ == State::Finished; });
    return decoded_;
  }

  Pixels streamed() const { return Pixels(raw_.get(), width_, height_, &gate_); }
  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  ZVData takeWhole() { return std::move(whole_); }

private:
  enum class State { Waiting, Started, Finished };
  std::mutex mutex_;
  std::condition_variable changed_; // state_ moved on
  State state_ = State::Waiting;
  bool decoded_ = false;
  bool begun_ = false;
  bool opaque_ = false;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  uint32_t published_ = 0; // decoding thread only
  std::unique_ptr<uint8_t[]> raw_;
  ZVData whole_;
  RowGate gate_;
};

// The kernels and inversion of generateBinaryData (Otsu), generateDitheringData
// and generateCLosureData.
std::optional<Raster> modeRaster(const Pixels &pixels, int64_t mode) {
  switch (mode) {
  case 0: {
    const auto histogram = histogramWeightedHistogram(pixels);
    const auto otsu = static_cast<int32_t>(otsuThreshold(histogram, pixels.width * pixels.height));
    return thresholdRaster(pixels, static_cast<uint64_t>(int64_t{otsu}));
  }
  case 1:
    return ditherRaster(pixels);
  default:
    return clusterRaster(pixels);
  }
}

} // namespace

std::optional<ZVData> printDataOfEncoded(std::span<const uint8_t> bytes, int64_t mode,
                                         int64_t compress, bool package, std::string &error) {
  if (mode < 0 || mode > 2) return ZVData{};
  SharedPixels shared;
  DecodeError reason;
  std::jthread decoder([&] {
    bool decoded = false;
    try {
      decoded = decodeInto(bytes, shared, reason);
    } catch (const std::bad_alloc &) {
      reason = "not enough memory to decode the image";
    }
    shared.finish(decoded);
  });
  std::optional<Raster> raster;
  if (shared.awaitStart()) raster = modeRaster(shared.streamed(), mode);
  const bool decoded = shared.awaitFinish();
  decoder.join();
  if (!decoded) {
    error = reason;
    return std::nullopt;
  }
  if (!raster) {
    // Transparency needs the whole image: the conversion draws it first.
    const auto image = ZVImage::fromRGBA(shared.width(), shared.height(), shared.takeWhole());
    if (!image) {
      error = "cannot draw the image";
      return std::nullopt;
    }
    return ZVBitmapManager::generateGenralDataWithImage(*image, false, mode, compress, package);
  }
  return printData(std::move(raster), mode != 2, compress, package);
}

} // namespace zv::detail
