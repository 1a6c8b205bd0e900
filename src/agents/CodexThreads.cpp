#include "agents/CodexThreads.h"

#include "agents/AgentPaths.h"
#include "agents/CodexDatabase.h"
#include "agents/SessionTitle.h"
#include "agents/Sqlite.h"

#include <QTimeZone>
#include <sqlite3.h>

namespace corvane::CodexThreads {
namespace {

// Values this large can only be milliseconds: as seconds they would lie past the year 5000.
// One Codex migration stored some timestamps in milliseconds.
constexpr qint64 smallestMilliseconds = 100'000'000'000;

std::optional<QDateTime> dateOf(qint64 value) {
    if (value < 1)
        return std::nullopt;
    if (value >= smallestMilliseconds)
        return QDateTime::fromMSecsSinceEpoch(value, QTimeZone::utc());
    return QDateTime::fromSecsSinceEpoch(value, QTimeZone::utc());
}

QString threadsQuery(sqlite3* connection) {
    const bool hasSource =
        Sqlite::hasColumn(connection, QStringLiteral("threads"), QStringLiteral("source"));
    const bool hasName =
        Sqlite::hasColumn(connection, QStringLiteral("threads"), QStringLiteral("name"));
    const bool hasRollout =
        Sqlite::hasColumn(connection, QStringLiteral("threads"), QStringLiteral("rollout_path"));
    QString sql = QStringLiteral("SELECT id, cwd, title, updated_at, ") +
                  (hasName ? QStringLiteral("name") : QStringLiteral("NULL")) +
                  (hasRollout ? QStringLiteral(", rollout_path") : QStringLiteral(", NULL")) +
                  QStringLiteral(" FROM threads WHERE archived = 0");
    if (hasSource)
        sql += QStringLiteral(" AND source IN ('cli', 'vscode')");
    return sql;
}

} // namespace

std::optional<QString> threadTitle(const std::optional<QString>& name,
                                   const std::optional<QString>& prompt) {
    if (name && !name->trimmed().isEmpty())
        return name->trimmed();
    if (!prompt)
        return std::nullopt;
    return SessionTitle::fromPrompt(*prompt);
}

QList<AgentSession> read(const QString& codexHome, bool macPathRules) {
    QList<AgentSession> sessions;
    const std::optional<QString> path = CodexDatabase::latestStatePath(codexHome);
    if (!path)
        return sessions;
    const Sqlite::Connection connection = CodexDatabase::openReadOnly(*path);
    if (!connection)
        return sessions;
    const Sqlite::Statement statement =
        Sqlite::prepare(connection.get(), threadsQuery(connection.get()));
    if (!statement)
        return sessions;
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        const std::optional<QString> id = Sqlite::columnText(statement.get(), 0);
        const std::optional<QString> cwd = Sqlite::columnText(statement.get(), 1);
        if (!id || !cwd || cwd->isEmpty())
            continue;
        AgentSession session;
        session.agent = AgentKind::codex;
        session.id = *id;
        session.cwd = AgentPaths::normalized(*cwd, macPathRules);
        session.title = threadTitle(Sqlite::columnText(statement.get(), 4),
                                    Sqlite::columnText(statement.get(), 2));
        session.updatedAt = dateOf(sqlite3_column_int64(statement.get(), 3));
        session.file = Sqlite::columnText(statement.get(), 5).value_or(QString());
        sessions.append(session);
    }
    return sessions;
}

} // namespace corvane::CodexThreads
