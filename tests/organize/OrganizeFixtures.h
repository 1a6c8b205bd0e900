#pragma once

#include "agents/AgentFixtures.h"

#include <QString>
#include <QStringList>

namespace corvane::test {

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
