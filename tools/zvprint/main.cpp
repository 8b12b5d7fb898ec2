// zvprint: print images and labels on BLE thermal printers, or on the
// built-in virtual printer, from a terminal.

#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVPrinterC.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

int main(int argc, char **argv) {
  CLI::App app{"zvprint: drive portable Bluetooth LE thermal printers"};
  app.set_version_flag("--version", std::string("zvprint 1.0.0 (library ") +
                                        std::to_string(ZVPrinterSDKVersionNumber).substr(0, 3) +
                                        ")");
  zvprint::addConvertCommand(app);
  zvprint::addPreviewCommand(app);
  zvprint::addBoundsCommand(app);
  zvprint::addRenderCommand(app);
  zvprint::addLabelCommand(app);
  zvprint::addBarcodeCommand(app);
  zvprint::addScanCommand(app);
  zvprint::addPrintCommand(app);
  zvprint::addDeviceCommands(app);
  zvprint::addFirmwareCommand(app);
  app.require_subcommand(1);
  app.fallthrough();

  try {
    app.parse(argc, argv);
    zvprint::finishStandardOutput();
  } catch (const CLI::CallForHelp &e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp &e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion &e) {
    return app.exit(e);
  } catch (const CLI::ParseError &e) {
    std::cerr << "zvprint: " << zvprint::usageMessage(app, e, {argv, static_cast<size_t>(argc)})
              << "\n";
    return zvprint::kUsageExit;
  } catch (const zvprint::CommandFailure &e) {
    std::cerr << "zvprint: " << e.what() << "\n";
    return e.exitCode;
  } catch (const std::exception &e) {
    std::cerr << "zvprint: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
