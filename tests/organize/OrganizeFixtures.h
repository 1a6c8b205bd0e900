#pragma once

// What the organizer's tests build and compare: projects with history, plans, and the state of
// folders before and after.

#include "agents/AgentFixtures.h"
#include "agents/AgentLocations.h"
#include "organize/OrganizeExecutor.h"
#include "organize/OrganizeTypes.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <ostream>

namespace corvane {

// Readable failure messages for the organizer's values.
inline void PrintTo(const MoveFailure& failure, std::ostream* out) {
    *out << '{' << failure.source.toStdString() << ": " << failure.message.toStdString() << '}';
}

} // namespace corvane

namespace corvane::test {

// Every entry under `folder` by its relative path: folders, links with their targets and files
// with their bytes, hidden ones included. Equal snapshots mean nothing was added, lost or changed.
QMap<QString, QByteArray> folderSnapshot(const QString& folder);

// A real git repository at `path` with one commit and a Claude Code session `sessionID` that
// ran in it.
void makeProject(const AgentLocations& locations, const QString& path, const QString& sessionID);

// A ready entry of a plan that moves `path` into `destinationRoot` (+ `group`).
OrganizeEntry readyEntry(const QString& path, const QString& destinationRoot,
                         const std::optional<QString>& group = std::nullopt);

// A mover over the history of `locations`, with the real process inspector.
ProjectMover moverFor(const AgentLocations& locations);

// An executor over `locations`' history, journaling beside it and trashing inside its home.
OrganizeExecutor executorFor(const AgentLocations& locations);

// One Codex thread per folder of `cwds` (ids "codex-1", "codex-2", ...), in the newest state
// database of `locations`.
inline void writeCodexThreads(const AgentLocations& locations, const QStringList& cwds) {
    sqlite3* database =
        createCodexDatabase(locations.codexHome + QStringLiteral("/state_5.sqlite"));
    for (qsizetype i = 0; i < cwds.size(); ++i)
        insertThread(database, QStringLiteral("codex-%1").arg(i + 1), cwds[i],
                     QStringLiteral("Task"), 1700000000 + i);
    sqlite3_close(database);
}

} // namespace corvane::test
