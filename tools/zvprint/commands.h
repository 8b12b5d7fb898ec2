#pragma once

// Each subcommand of zvprint registers itself on the application.

#include <CLI/CLI.hpp>

namespace zvprint {

void addPreviewCommand(CLI::App &app);
void addBoundsCommand(CLI::App &app);

} // namespace zvprint
