#include <zvprinter/ZVPrintJob.h>

#include "job/print_run.h"

#include <algorithm>

ZVPrintJob::ZVPrintJob(ZVData printData, ZVPrintJobOptions options)
    : data_(std::move(printData)), options_(std::move(options)) {}

ZVPrintJob::ZVPrintJob(ZVPrintJob &&other) noexcept
    : data_(std::move(other.data_)), options_(std::move(other.options_)),
      progress_(std::move(other.progress_)) {
  std::lock_guard lock(other.mutex_);
  run_ = std::move(other.run_);
}

ZVPrintJob ZVPrintJob::forImage(const ZVImage &image, int64_t mode,
                                const ZVPrintImageOptions &imageOptions,
                                ZVPrintJobOptions options) {
  // An empty job fails as invalid, before anything connects.
  return ZVPrintJob(ZVPrintImage::printData(image, mode, imageOptions).value_or(ZVData{}),
                    std::move(options));
}

void ZVPrintJob::setProgressHandler(ZVJobProgressHandler handler) {
  progress_ = std::move(handler);
}

void ZVPrintJob::start(ZVJobCompletion completion) {
  auto run =
      std::make_shared<zv::detail::PrintRun>(data_, options_, progress_, std::move(completion));
  {
    std::lock_guard lock(mutex_);
    run_ = run;
  }
  zv::detail::startOnMainQueue(std::move(run));
}

ZVJobResult ZVPrintJob::run() {
  return zv::detail::runToCompletion(
      [this](ZVJobCompletion completion) { start(std::move(completion)); });
}

void ZVPrintJob::cancel() {
  std::lock_guard lock(mutex_);
  ZVRunLoop::main().post([weak = run_] {
    if (auto run = weak.lock()) run->cancel();
  });
}

double ZVPrintJob::confirmDeadline() const {
  return options_.confirmTimeout +
         double(data_.size()) / std::max(options_.confirmBytesPerSecond, 1.0);
}
