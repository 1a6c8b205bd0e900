#pragma once

#include "agents/RelinkStep.h"

namespace corvane {

// Moves the project trust tables of Codex's "config.toml" ([projects."<path>"]) to the new
// path. Only the header's key changes; the rest of the file stays byte for byte. Entries
// written in another form (inline tables, dotted keys) are reported, not rewritten.
struct CodexTrustStep {
    static void run(const RelinkContext& context);
};

} // namespace corvane
