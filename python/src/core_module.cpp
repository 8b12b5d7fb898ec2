// zvprinter._core: the print job and image preparation for Python. The
// pure-Python package around it turns arguments and outcomes into Python
// types; this file keeps the GIL rules in one place: it is released while
// images convert and while a job runs the main queue, and taken back only
// to call the progress callback.

#include <pybind11/functional.h>
#include <pybind11/pybind11.h>

#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVPrintImage.h>
#include <zvprinter/ZVPrintJob.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVVirtualPrinter.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

namespace py = pybind11;

namespace {

// The process's one simulated radio. The connection facade asks for its
// central once, so every print reuses it and swaps in a fresh virtual
// printer (fresh paper, the faults asked for). Jobs share the one printer
// link and the main queue: the mutex lets one print run at a time.
struct SimRadio {
  std::mutex mutex;
  std::shared_ptr<ZVSimCentral> central;
  std::shared_ptr<ZVVirtualPrinter> printer;
  uint64_t printersMade = 0;

  static SimRadio &instance() {
    static SimRadio radio;
    return radio;
  }

  // Call with the mutex held.
  std::shared_ptr<ZVVirtualPrinter> freshPrinter(bool paperOut) {
    if (!central) {
      ZVRunLoop::main().setClock(ZVRunLoop::Clock::Virtual);
      central = std::make_shared<ZVSimCentral>(ZVRunLoop::main());
      ZVPlatform::setCentralFactory([radio = central] { return radio; });
    }
    if (printer) central->removePrinter(printer);
    // A new identifier each time: the facade remembers the printers it saw,
    // and an old record must not lead a job to a printer that is gone.
    ZVVirtualPrinterConfig config;
    char identifier[40];
    std::snprintf(identifier, sizeof identifier, "5A560000-0000-4000-8000-%012llX",
                  static_cast<unsigned long long>(++printersMade));
    config.identifier = identifier;
    printer = std::make_shared<ZVVirtualPrinter>(config);
    printer->faults().paperOut = paperOut;
    central->addPrinter(printer);
    return printer;
  }
};

// H x W (gray), H x W x 3 (RGB) or H x W x 4 (RGBA) uint8 pixels, any strides.
ZVImage imageFromBuffer(const py::buffer &source) {
  const py::buffer_info info = source.request();
  if (info.itemsize != 1 || (info.format != "B" && info.format != "c"))
    throw py::value_error("image pixels must be uint8");
  const int channels = info.ndim == 2 ? 1 : info.ndim == 3 ? static_cast<int>(info.shape[2]) : 0;
  if (channels != 1 && channels != 3 && channels != 4)
    throw py::value_error("image must be H x W, H x W x 3 or H x W x 4");
  const auto height = static_cast<uint64_t>(info.shape[0]);
  const auto width = static_cast<uint64_t>(info.shape[1]);
  if (width == 0 || height == 0 || width > ZVImage::kMaxSide || height > ZVImage::kMaxSide ||
      width * height > ZVImage::kMaxPixels)
    throw py::value_error("image size out of range");
  const auto *base = static_cast<const uint8_t *>(info.ptr);
  const auto rowStride = info.strides[0];
  const auto pixelStride = info.strides[1];
  const auto channelStride = info.ndim == 3 ? info.strides[2] : 0;
  ZVData rgba(width * height * 4);
  {
    py::gil_scoped_release release;
    uint8_t *out = rgba.data();
    for (uint64_t y = 0; y < height; ++y) {
      const uint8_t *row = base + static_cast<py::ssize_t>(y) * rowStride;
      for (uint64_t x = 0; x < width; ++x, out += 4) {
        const uint8_t *pixel = row + static_cast<py::ssize_t>(x) * pixelStride;
        if (channels == 1) {
          out[0] = out[1] = out[2] = pixel[0];
          out[3] = 255;
        } else {
          out[0] = pixel[0];
          out[1] = pixel[channelStride];
          out[2] = pixel[2 * channelStride];
          out[3] = channels == 4 ? pixel[3 * channelStride] : 255;
        }
      }
    }
  }
  auto image = ZVImage::fromRGBA(static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                                 std::move(rgba));
  if (!image) throw py::value_error("image size out of range");
  return std::move(*image);
}

// A path (str), an encoded file (bytes) or a pixel buffer. Undecodable
// files raise ValueError with the decoder's reason.
ZVImage loadImage(const py::object &source) {
  std::string error;
  std::optional<ZVImage> image;
  if (py::isinstance<py::str>(source)) {
    const auto path = source.cast<std::string>();
    py::gil_scoped_release release;
    image = ZVImage::fromFile(path, &error);
  } else if (py::isinstance<py::bytes>(source)) {
    const auto view = source.cast<std::string_view>();
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t *>(view.data()),
                                         view.size());
    py::gil_scoped_release release;
    image = ZVImage::fromEncoded(bytes, &error);
  } else {
    return imageFromBuffer(source.cast<py::buffer>());
  }
  if (!image) throw py::value_error(error.empty() ? "cannot decode the image" : error);
  return std::move(*image);
}

ZVData printData(const ZVImage &image, int64_t mode, uint32_t width) {
  ZVPrintImageOptions fit;
  fit.printWidthDots = width;
  std::optional<ZVData> data;
  {
    py::gil_scoped_release release;
    data = ZVPrintImage::printData(image, mode, fit);
  }
  if (!data) throw py::value_error("the image cannot be converted for printing");
  return std::move(*data);
}

// The image as it is (no fitting to the print width): raw raster, LZO1X, or
// LZO1X cut into framed row blocks.
py::bytes convert(const py::object &source, int64_t mode, bool compress, bool package) {
  const ZVImage image = loadImage(source);
  std::optional<ZVData> data;
  {
    py::gil_scoped_release release;
    data = ZVBitmapManager::generateGenralDataWithImage(image, false, mode, compress ? 48 : 0,
                                                        package);
  }
  if (!data || data->empty()) throw py::value_error("the image cannot be converted");
  return {reinterpret_cast<const char *>(data->data()), data->size()};
}

struct SimOptions {
  std::string paper;
  bool paperOut = false;
};

py::dict resultDict(const ZVJobResult &result) {
  py::dict out;
  out["succeeded"] = result.succeeded;
  out["failure"] = ZVJobFailureName(result.failure);
  out["reason"] = result.reason;
  out["nothing_sent"] = result.nothingSent;
  out["bytes_total"] = result.bytesTotal;
  out["bytes_sent"] = result.bytesSent;
  out["attempts"] = result.attempts;
  out["seconds"] = result.seconds;
  out["printer_name"] = result.printerName;
  return out;
}

// Runs one print on the virtual printer. The progress callback runs with
// the GIL held; when it raises (KeyboardInterrupt from a pending Ctrl-C
// included) the job is cancelled and the exception is returned beside the
// outcome, so the caller sees both what happened and why it stopped.
py::tuple printImage(const py::object &source, int64_t mode, uint32_t width,
                     const std::string &printer, const SimOptions &sim,
                     const py::object &progress) {
  ZVData data = printData(loadImage(source), mode, width);
  py::object raised = py::none();
  ZVJobResult result;
  std::string paperError;
  {
    py::gil_scoped_release release;
    SimRadio &radio = SimRadio::instance();
    std::lock_guard lock(radio.mutex);
    const auto virtualPrinter = radio.freshPrinter(sim.paperOut);

    ZVPrintJobOptions options;
    options.printer = printer.empty()
                          ? ZVPrinterTarget::withIdentifier(virtualPrinter->identifier())
                          : ZVPrinterTarget::fromText(printer);
    ZVPrintJob job(std::move(data), options);
    job.setProgressHandler([&](const ZVJobProgress &report) {
      py::gil_scoped_acquire acquire;
      if (!raised.is_none()) return;
      try {
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        if (!progress.is_none())
          progress(static_cast<int>(report.phase), report.completed, report.total);
      } catch (py::error_already_set &error) {
        raised = error.value();
        job.cancel();
      }
    });
    result = job.run();
    if (!sim.paper.empty() && result.succeeded &&
        !virtualPrinter->writePaperPNG(sim.paper, &paperError) && paperError.empty())
      paperError = "cannot write " + sim.paper;
  }
  if (!paperError.empty()) throw std::runtime_error(paperError);
  return py::make_tuple(resultDict(result), raised);
}

} // namespace

PYBIND11_MODULE(_core, module) {
  module.doc() = "zvprinter native core; use the zvprinter package";
  module.attr("DEFAULT_PRINT_WIDTH") = ZVPrintImage::kDefaultPrintWidthDots;
  module.def("convert", &convert, py::arg("image"), py::arg("mode"), py::arg("compress"),
             py::arg("package"), "Printer bytes of an image at its own size");
  module.def(
      "print_sim",
      [](const py::object &source, int64_t mode, uint32_t width, const std::string &printer,
         const std::string &paper, bool paperOut, const py::object &progress) {
        return printImage(source, mode, width, printer, SimOptions{paper, paperOut}, progress);
      },
      py::arg("image"), py::arg("mode"), py::arg("width"), py::arg("printer"), py::arg("paper"),
      py::arg("paper_out"), py::arg("progress"),
      "Prints on a fresh virtual printer; returns (outcome dict, exception or None)");
}
