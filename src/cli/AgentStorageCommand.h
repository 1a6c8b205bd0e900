#pragma once

#include "agents/AgentStorage.h"
#include "cli/Console.h"
#include "cli/ScanCommands.h"

#include <CLI/CLI.hpp>
#include <QStringList>
#include <optional>

namespace corvane::cli {

struct AgentsCleanRequest {
    bool orphaned = false;
    std::optional<int> olderThanDays;
    QStringList sessionIDs;
    TrashRequest trash;
};

// `corvane agents storage`: every agent's stores per project, with sizes, kinds and reasons.
int runAgentsStorage(const AgentStorage::Inputs& inputs, bool json, Console& console);
// `corvane agents clean`: exactly the chosen rows to the Trash, after asking. A row named with
// --session that may not go refuses the whole command before anything moves.
int runAgentsClean(const AgentStorage::Inputs& inputs, const AgentsCleanRequest& request,
                   Console& console);

// The inputs of the real home: its locations, and new places found among the folders the agents
// worked in.
AgentStorage::Inputs systemAgentStorageInputs();

// Adds the "storage" and "clean" subcommands to `corvane agents`.
void defineAgentStorageCommands(CLI::App& agents, int& status);

} // namespace corvane::cli
