#pragma once

#include "agents/RelinkStep.h"

namespace corvane {

// Copies the per-project settings of "~/.claude.json" (trust, allowed tools, MCP servers) to
// the new path. The file's text is edited, never re-serialised, so the user's formatting and
// key order survive; the old entries stay, so an undo finds them in place.
struct ClaudeConfigStep {
    static void run(const RelinkContext& context);
};

} // namespace corvane
