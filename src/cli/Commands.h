#pragma once

#include "scanning/ScanSessionTypes.h"

#include <CLI/CLI.hpp>

// The definitions of the subcommands; each lives in its own file.
namespace corvane::cli {

void defineLocationsCommand(CLI::App& command, int& status);
void defineInspectCommand(CLI::App& command, int& status);
void defineCachesCommand(CLI::App& command, int& status);

// These need the scan engine, which `starter` runs (ScanEngine::scan in the program).
void defineScanCommand(CLI::App& command, int& status, ScanStarter starter);
void defineCleanCommand(CLI::App& command, int& status, ScanStarter starter);
void defineOverviewCommand(CLI::App& command, int& status, ScanStarter starter);
void defineKeepCommand(CLI::App& command, int& status);

void defineAgentsCommand(CLI::App& command, int& status);
void defineRelinkCommand(CLI::App& command, int& status);

void defineProcessesCommand(CLI::App& command, int& status);
void defineOrphansCommand(CLI::App& command, int& status);
void defineOrganizeCommand(CLI::App& command, int& status);
void defineMoveCommand(CLI::App& command, int& status);

void defineVolumesCommand(CLI::App& command, int& status);
void defineDestinationsCommand(CLI::App& command, int& status);
void defineArchiveCommand(CLI::App& command, int& status);
void defineArchivesCommand(CLI::App& command, int& status);
void defineRestoreCommand(CLI::App& command, int& status);

void defineDockerCommand(CLI::App& command, int& status);
void defineSimulatorsCommand(CLI::App& command, int& status);
void defineAndroidCommand(CLI::App& command, int& status);
void defineModelsCommand(CLI::App& command, int& status);
void defineBrewCommand(CLI::App& command, int& status);
void defineAppsCommand(CLI::App& command, int& status);

void defineHistoryCommand(CLI::App& command, int& status);
void definePutBackCommand(CLI::App& command, int& status);

} // namespace corvane::cli
