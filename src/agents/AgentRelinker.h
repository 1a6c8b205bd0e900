#pragma once

#include "agents/AgentLocations.h"
#include "agents/RelinkReport.h"

#include <QString>

namespace corvane {

// Rewrites every agent record that names a moved folder, so that the history follows the
// project: Claude Code's history folders, the Claude desktop app's records, "~/.claude.json",
// Codex's database and its trust entries, in that order. It never fails a move: each problem is
// one line in the report's warnings, and what it concerns is left exactly as it was.
struct AgentRelinker {
    AgentLocations locations;

    // Both paths absolute and normalised (AgentPaths::normalized).
    RelinkReport relink(const QString& oldPath, const QString& newPath) const;

    // Counts what relink would change, writing nothing.
    RelinkReport preview(const QString& oldPath, const QString& newPath) const;

    // Takes back `done`, the report of relink(oldPath, newPath): the same steps from the new
    // path to the old one, except that merged Claude Code folders give back only the items they
    // received.
    RelinkReport undo(const RelinkReport& done, const QString& oldPath,
                      const QString& newPath) const;

    // Takes back relink(oldPath, newPath) cut short at an unknown step, without its report: the
    // same steps from the new path to the old one rewrite whatever it had reached and find
    // nothing to do for the rest, and the project settings it had copied go again.
    RelinkReport takeBack(const QString& oldPath, const QString& newPath) const;
};

} // namespace corvane
