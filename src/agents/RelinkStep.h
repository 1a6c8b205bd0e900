#pragma once

#include "agents/AgentLocations.h"
#include "agents/AgentPaths.h"
#include "agents/RelinkReport.h"

#include <QString>
#include <optional>

namespace corvane {

enum class RelinkMode { write, preview };

// What every step of a relink works with: where the history is, the move, whether to write or
// only count, and the one report all steps add to.
struct RelinkContext {
    const AgentLocations& locations;
    AgentPaths::PathMove move;
    RelinkMode mode;
    RelinkReport& report;

    bool writes() const { return mode == RelinkMode::write; }
    void warn(const QString& message) const { report.warnings.append(message); }
};

namespace RelinkFiles {

// The text of a file that is rewritten in place. Nothing, with `problem` set, when it can't be
// read or is not UTF-8 (decoding and encoding again must give back the same bytes, so that
// whatever is not rewritten stays byte for byte).
std::optional<QString> readText(const QString& path, QString& problem);

// Replaces the file atomically; an empty string, or the reason it failed.
QString replace(const QString& path, const QString& text);

} // namespace RelinkFiles
} // namespace corvane
