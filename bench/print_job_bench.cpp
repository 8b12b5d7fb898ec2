// A whole print over the simulated link, in the link's virtual time: from
// the print job's start to the printer's confirmation, for a 576 x 4000 photo
// in each mode and both module profiles, next to the time the link needs at
// least for the bytes sent; and a 1 MiB firmware update.
//
// The times reported are virtual seconds (manual time), so they do not
// depend on the machine's load; the wall time a run takes does.
#include <zvprinter/ZVFirmwareJob.h>
#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVPrintJob.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

namespace {

constexpr uint32_t kWidth = 576;
constexpr uint32_t kRows = 4000;

// One central for the whole process (the library makes its central once),
// with a printer of each module profile.
struct Printers {
  Printers() {
    ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
    central = std::make_shared<ZVSimCentral>(ZVRunLoop::main());
    for (auto profile : {ZVVirtualPrinterProfile::ISSC, ZVVirtualPrinterProfile::IVT}) {
      ZVVirtualPrinterConfig config;
      config.profile = profile;
      config.name = profile == ZVVirtualPrinterProfile::ISSC ? "ZV-ISSC" : "ZV-IVT";
      config.advertisedName = config.name;
      config.paperCapacityBytes = 1ull << 34;
      central->addPrinter(std::make_shared<ZVVirtualPrinter>(config));
    }
    ZVPlatform::setCentralFactory([c = central] { return c; });
  }
  std::shared_ptr<ZVSimCentral> central;
  ZVVirtualPrinterConfig link; // the link model both printers use
};

Printers &printers() {
  static Printers instance;
  return instance;
}

// A photo 576 x 4000: the sample photo scaled to the width, repeated down.
ZVImage photo() {
  static const ZVImage tall = [] {
    auto sample = ZVImage::fromFile(ZV_SAMPLE_PHOTO_DIR "/astronaut.png");
    ZVImage fitted = *ZVPrintImage::prepare(*sample, {kWidth, true});
    ZVData rgba(size_t{kWidth} * kRows * 4);
    const auto source = fitted.rgba();
    for (uint32_t y = 0; y < kRows; ++y) {
      const size_t from = size_t{y % fitted.pixelHeight()} * kWidth * 4;
      std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(from), kWidth * 4,
                  rgba.begin() + static_cast<std::ptrdiff_t>(size_t{y} * kWidth * 4));
    }
    return *ZVImage::fromRGBA(kWidth, kRows, std::move(rgba));
  }();
  return tall;
}

// Least time the link can carry @p bytes: every packet of every connection
// event full.
double linkBound(uint64_t bytes) {
  const ZVVirtualPrinterConfig &link = printers().link;
  const double perSecond =
      double(link.packetsPerInterval) * link.attPayloadLimit / link.connectionInterval;
  return double(bytes) / perSecond;
}

void BM_PrintPhoto(benchmark::State &state, const char *printer, int64_t mode) {
  printers();
  const ZVData data = *ZVPrintImage::printData(photo(), mode);
  ZVPrintJobOptions options;
  options.printer = ZVPrinterTarget::named(printer);
  double seconds = 0;
  for (auto _ : state) {
    ZVPrintJob job(data, options);
    const ZVJobResult result = job.run();
    if (!result.succeeded) state.SkipWithError(result.reason.c_str());
    state.SetIterationTime(result.seconds);
    seconds += result.seconds;
  }
  const double raw = double(kWidth / 8) * kRows;
  state.counters["bytes_sent"] = double(data.size());
  state.counters["raw_raster_bytes"] = raw;
  state.counters["lzo_vs_raw"] = double(data.size()) / raw;
  state.counters["link_bound_s"] = linkBound(data.size());
  state.counters["vs_link_bound"] = seconds / double(state.iterations()) / linkBound(data.size());
}

void BM_Firmware1MiB(benchmark::State &state, const char *printer) {
  printers();
  ZVData image(1 << 20);
  uint32_t seed = 7;
  for (auto &byte : image) {
    seed = seed * 1664525u + 1013904223u;
    byte = static_cast<uint8_t>(seed >> 24);
  }
  ZVFirmwareJobOptions options;
  options.printer = ZVPrinterTarget::named(printer);
  for (auto _ : state) {
    ZVFirmwareJob job = ZVFirmwareJob::forImage(image, options);
    const ZVJobResult result = job.run();
    if (!result.succeeded) state.SkipWithError(result.reason.c_str());
    state.SetIterationTime(result.seconds);
  }
  state.SetBytesProcessed(state.iterations() * int64_t{1 << 20});
  state.counters["link_bound_s"] = linkBound(image.size());
}

} // namespace

BENCHMARK_CAPTURE(BM_PrintPhoto, issc_threshold, "ZV-ISSC", 0)->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_PrintPhoto, issc_dither, "ZV-ISSC", 1)->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_PrintPhoto, issc_cluster, "ZV-ISSC", 2)->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_PrintPhoto, ivt_threshold, "ZV-IVT", 0)->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_PrintPhoto, ivt_dither, "ZV-IVT", 1)->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_PrintPhoto, ivt_cluster, "ZV-IVT", 2)->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_Firmware1MiB, issc, "ZV-ISSC")->UseManualTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_Firmware1MiB, ivt, "ZV-IVT")->UseManualTime()->Iterations(1);
