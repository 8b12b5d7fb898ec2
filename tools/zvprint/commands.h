#pragma once

// Each subcommand of zvprint registers itself on the application.

#include <CLI/CLI.hpp>

namespace zvprint {

void addConvertCommand(CLI::App &app);
void addPreviewCommand(CLI::App &app);
void addBoundsCommand(CLI::App &app);
void addRenderCommand(CLI::App &app);
void addBarcodeCommand(CLI::App &app);
void addLabelCommand(CLI::App &app);
void addScanCommand(CLI::App &app);
void addPrintCommand(CLI::App &app);
void addDeviceCommands(CLI::App &app);
void addFirmwareCommand(CLI::App &app);

} // namespace zvprint
