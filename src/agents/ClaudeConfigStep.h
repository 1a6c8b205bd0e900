#pragma once

#include "agents/RelinkStep.h"

namespace corvane {

// Copies the per-project settings of "~/.claude.json" (trust, allowed tools, MCP servers) to
// the new path. The file's text is edited, never re-serialised, so the user's formatting and
// key order survive; the old entries stay, so an undo finds them in place.
struct ClaudeConfigStep {
    static void run(const RelinkContext& context);

    // Removes again the copies that run() made for the context's move: entries for the new path
    // still equal to their old path's, exactly as run() wrote them. Anything else (an entry
    // Claude Code has since changed or rewritten) stays.
    static void removeCopies(const RelinkContext& context);
};

} // namespace corvane
