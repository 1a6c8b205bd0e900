#pragma once

#include "agents/AgentLocations.h"
#include "agents/AgentPaths.h"
#include "agents/RelinkReport.h"

#include <QString>
#include <functional>
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

// What became of replacing a file that was read, edited and is now written back.
enum class Replaced { done, changedMeanwhile, failed };

// Replaces the file atomically with `text`, but only while it still holds `expected` (the text
// that was read and edited): an agent that wrote the file in between keeps its write. The check
// and the rename are as close together as a temporary file allows. `problem` says why it failed.
Replaced replaceIfUnchanged(const QString& path, const QString& expected, const QString& text,
                            QString& problem);

// Reads the file, hands its text to `edit` and writes back what `edit` returns (nothing: the file
// stays as it is); when the file changed between the read and the write, reads it again and edits
// afresh, a few times. Returns whether the file was replaced; `problem` is set when it could not
// be read or written, or kept changing.
bool rewrite(const QString& path, const std::function<std::optional<QString>(const QString&)>& edit,
             QString& problem);

} // namespace RelinkFiles
} // namespace corvane
