#pragma once

#include "agents/RelinkStep.h"

namespace corvane {

// Moves the folders of Codex's threads and project roots in its state database, all in one
// immediate transaction: either every row moves or none does.
struct CodexDatabaseStep {
    static void run(const RelinkContext& context);
};

} // namespace corvane
