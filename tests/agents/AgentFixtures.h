#pragma once

// Builders of real agent history in a temporary home: session files, records, databases.

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentLocations.h"
#include "agents/RelinkStep.h"

#include <QByteArray>
#include <QString>
#include <ostream>
#include <sqlite3.h>

// Readable failure messages for text.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
    *out << '"' << bytes.toStdString() << '"';
}

namespace corvane::test {

// Agent locations under `home`, or a fresh temporary home when none is given, with the ledger
// beside it.
AgentLocations makeAgentHome(const QString& home = {});

// A Claude Code message line with the given working folder, the way Claude Code writes it.
QByteArray claudeLine(const QString& cwd, const QString& sessionID = QStringLiteral("s"));

// Writes a session file `id`.jsonl in the history folder `folderName`.
QString writeClaudeSession(const AgentLocations& locations, const QString& folderName,
                           const QString& id, const QByteArray& contents);

// A session file `id`.jsonl whose lines name `cwd`, in the history folder Claude Code gives `cwd`.
QString writeClaudeSessionIn(const AgentLocations& locations, const QString& cwd,
                             const QString& id = QStringLiteral("s"));

// The ids of `sessions` in their order, and the sorted ids of the sessions a fresh index finds in
// `folder`.
QStringList idsOf(const QList<AgentSession>& sessions);
QStringList sessionIDsIn(const AgentLocations& locations, const QString& folder);

// Runs one relink step alone, the way the relinker runs it.
template <typename Step>
RelinkReport runStep(const AgentLocations& locations, const QString& oldPath,
                     const QString& newPath, RelinkMode mode = RelinkMode::write) {
    RelinkReport report;
    Step::run({locations, {oldPath, newPath}, mode, report});
    return report;
}

// The whole file as bytes ("" when it can't be read).
QByteArray readBytes(const QString& path);

// A Codex database at `path` with the given "threads" columns besides id, cwd, title,
// updated_at and archived (e.g. "source TEXT, name TEXT").
sqlite3* createCodexDatabase(const QString& path, const QString& extraColumns = {});
void exec(sqlite3* connection, const QString& sql);
// Opens (or creates) the database at `path`, making its folder.
sqlite3* openDatabase(const QString& path);
// A database at `path` made by `sql` alone, closed again.
void createDatabase(const QString& path, const QString& sql);
void insertThread(sqlite3* connection, const QString& id, const QString& cwd, const QString& title,
                  qint64 updatedAt, const QString& extraColumns = {},
                  const QString& extraValues = {});
QStringList queryColumn(sqlite3* connection, const QString& sql);

} // namespace corvane::test
