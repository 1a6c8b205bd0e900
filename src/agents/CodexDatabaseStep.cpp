#include "agents/CodexDatabaseStep.h"

#include "agents/CodexDatabase.h"
#include "agents/Sqlite.h"

#include <QFile>
#include <sqlite3.h>

namespace corvane {
namespace {

// Codex may be writing; waiting longer than this would hold up the move that called us.
constexpr int writeBusyTimeoutMs = 5000;

struct Target {
    const char* table;
    const char* column;
    int RelinkReport::*count;
};

constexpr Target targets[] = {
    {"threads", "cwd", &RelinkReport::codexThreads},
    {"project_roots", "path", &RelinkReport::codexProjectRoots},
};

// Matches the path itself and everything below it, never a sibling that shares its prefix.
QString whereClause(const QString& column) {
    return QStringLiteral(" WHERE (") + column + QStringLiteral(" = ?1 OR substr(") + column +
           QStringLiteral(", 1, length(?1) + 1) = ?1 || '/')");
}

QString tableName(const Target& target) {
    return QLatin1String(target.table);
}
QString columnName(const Target& target) {
    return QLatin1String(target.column);
}

QList<Target> usableTargets(sqlite3* connection) {
    QList<Target> usable;
    for (const Target& target : targets) {
        if (Sqlite::hasColumn(connection, tableName(target), columnName(target)))
            usable.append(target);
    }
    return usable;
}

bool bindPaths(sqlite3_stmt* statement, const AgentPaths::PathMove& move, bool withNew) {
    return Sqlite::bindText(statement, 1, move.oldPath) &&
           (!withNew || Sqlite::bindText(statement, 2, move.newPath));
}

bool execute(sqlite3* connection, const char* sql) {
    return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

class DatabaseRelinker {
public:
    DatabaseRelinker(const RelinkContext& context, QString path)
        : context_(context)
        , path_(std::move(path)) {}

    void preview();
    void write();

private:
    Sqlite::Connection openForWriting();
    bool update(sqlite3* connection, const Target& target, RelinkReport& counts);

    const RelinkContext& context_;
    QString path_;
};

void DatabaseRelinker::preview() {
    const Sqlite::Connection connection = CodexDatabase::openReadOnly(path_);
    if (!connection)
        return context_.warn(QStringLiteral("Codex history: could not open its database."));
    for (const Target& target : usableTargets(connection.get())) {
        const Sqlite::Statement count = Sqlite::prepare(
            connection.get(), QStringLiteral("SELECT count(*) FROM ") + tableName(target) +
                                  whereClause(columnName(target)));
        if (count && bindPaths(count.get(), context_.move, false) &&
            sqlite3_step(count.get()) == SQLITE_ROW)
            context_.report.*target.count += sqlite3_column_int(count.get(), 0);
    }
}

// Opening a file that is not a database succeeds; the first read tells. A read that times out
// means Codex holds the database, which is "busy", not "can't open".
Sqlite::Connection DatabaseRelinker::openForWriting() {
    Sqlite::Connection connection = Sqlite::open(QFile::encodeName(path_), SQLITE_OPEN_READWRITE);
    if (!connection) {
        context_.warn(QStringLiteral("Codex history: could not open its database."));
        return {};
    }
    sqlite3_busy_timeout(connection.get(), writeBusyTimeoutMs);
    const Sqlite::Statement proof =
        Sqlite::prepare(connection.get(), QStringLiteral("SELECT count(*) FROM sqlite_master"));
    const int status = proof ? sqlite3_step(proof.get()) : sqlite3_errcode(connection.get());
    if (status == SQLITE_ROW)
        return connection;
    if (status == SQLITE_BUSY || status == SQLITE_LOCKED)
        context_.warn(QStringLiteral("Codex history: database is busy, try again when Codex is "
                                     "idle."));
    else
        context_.warn(QStringLiteral("Codex history: could not open its database."));
    return {};
}

bool DatabaseRelinker::update(sqlite3* connection, const Target& target, RelinkReport& counts) {
    const QString column = columnName(target);
    const Sqlite::Statement statement = Sqlite::prepare(
        connection, QStringLiteral("UPDATE ") + tableName(target) + QStringLiteral(" SET ") +
                        column + QStringLiteral(" = ?2 || substr(") + column +
                        QStringLiteral(", length(?1) + 1)") + whereClause(column));
    if (!statement || !bindPaths(statement.get(), context_.move, true) ||
        sqlite3_step(statement.get()) != SQLITE_DONE) {
        context_.warn(QStringLiteral("Codex history: updating ") + tableName(target) +
                      QStringLiteral(" failed."));
        return false;
    }
    counts.*target.count += sqlite3_changes(connection);
    return true;
}

void DatabaseRelinker::write() {
    const Sqlite::Connection connection = openForWriting();
    if (!connection)
        return;
    const QList<Target> usable = usableTargets(connection.get());
    if (usable.isEmpty())
        return;
    if (!execute(connection.get(), "BEGIN IMMEDIATE"))
        return context_.warn(QStringLiteral("Codex history: database is busy, try again when "
                                            "Codex is idle."));
    RelinkReport counts;
    for (const Target& target : usable) {
        if (!update(connection.get(), target, counts)) {
            execute(connection.get(), "ROLLBACK");
            return;
        }
    }
    if (!execute(connection.get(), "COMMIT")) {
        execute(connection.get(), "ROLLBACK");
        return context_.warn(QStringLiteral("Codex history: could not save the change."));
    }
    context_.report.codexThreads += counts.codexThreads;
    context_.report.codexProjectRoots += counts.codexProjectRoots;
}

} // namespace

void CodexDatabaseStep::run(const RelinkContext& context) {
    const std::optional<QString> path = CodexDatabase::latestStatePath(context.locations.codexHome);
    if (!path)
        return;
    DatabaseRelinker relinker(context, *path);
    if (context.writes())
        relinker.write();
    else
        relinker.preview();
}

} // namespace corvane
