#pragma once

#include <CLI/CLI.hpp>

// The definitions of the subcommands; each lives in its own file.
namespace corvane::cli {

void defineLocationsCommand(CLI::App& command, int& status);
void defineInspectCommand(CLI::App& command, int& status);

} // namespace corvane::cli
