#pragma once

#include "agents/AgentModel.h"

#include <QList>
#include <QString>
#include <optional>

// The conversations Codex lists: rows of its "threads" table that are not archived.
namespace corvane::CodexThreads {

// The sessions of the newest state database in `codexHome`; none when there is no database,
// it can't be opened or its table lacks a needed column. Paths are normalised.
QList<AgentSession> read(const QString& codexHome, bool macPathRules);

// A user-chosen name wins. Otherwise the first prompt, from after its "## My request:" marker
// when it has one: its first non-empty line that is not a heading, cut to 89 characters and
// "…" when it is longer than 90.
std::optional<QString> threadTitle(const std::optional<QString>& name,
                                   const std::optional<QString>& prompt);

} // namespace corvane::CodexThreads
