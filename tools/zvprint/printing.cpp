#include "printing.h"

#include "cli_support.h"

#include <nlohmann/json.hpp>

#include <zvprinter/ZVPrintJob.h>

namespace zvprint {

void addPrintingOptions(CLI::App &command, PrintingOptions &options) {
  command.add_option("--printer", options.printer,
                     "Printer name (part of it) or identifier; default: the first one found");
  command.add_option("--paper", options.paper,
                     "Virtual printer: write the printed paper to this PNG");
  addBackendOptions(command, options.backend);
  addOutputOptions(command, options.output);
}

void printBytes(const ZVData &data, const PrintingOptions &options, const Backend &backend) {
  if (!options.paper.empty() && !backend.virtualPrinter) fail("--paper needs the virtual printer");
  ZVPrintJobOptions jobOptions;
  jobOptions.printer = ZVPrinterTarget::fromText(options.printer);
  ZVPrintJob job(data, jobOptions);
  JobOutput output(options.output, "print", "bytes");
  job.setProgressHandler(output.handler());
  const ZVJobResult result = job.run();

  std::string paperNote;
  if (!options.paper.empty() && backend.virtualPrinter->paperImage()) {
    std::string error;
    if (!backend.virtualPrinter->writePaperPNG(options.paper, &error))
      fail(options.paper + ": " + error);
    paperNote = ", paper in " + options.paper;
  }
  const std::string bytes = std::to_string(result.bytesTotal) + " bytes";
  const std::string line =
      result.virtualPrinter
          ? "printed on the virtual printer " + result.printerName + ": " + bytes +
                ", nothing sent over Bluetooth" +
                (paperNote.empty() ? " (--paper OUT.png saves its paper)" : paperNote)
          : "printed on " + result.printerName + ": " + bytes + ", confirmed by the printer";
  output.finish(result, line,
                options.paper.empty() ? "" : "\"paper\":" + nlohmann::json(options.paper).dump());
}

} // namespace zvprint
