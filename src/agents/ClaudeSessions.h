#pragma once

#include "agents/AgentModel.h"

#include <QList>
#include <QMap>

// The conversations Claude Code keeps: one ".jsonl" file per session in a folder per project.
namespace corvane::ClaudeSessions {

// Every session under `projectsFolder` whose project is known, from the session's own "cwd" or
// from `ledger` (see ClaudeHistory::projectPath). Paths are normalised.
QList<AgentSession> read(const QString& projectsFolder, const QMap<QString, QString>& ledger,
                         bool macPathRules);

} // namespace corvane::ClaudeSessions
