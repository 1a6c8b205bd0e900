#include "agents/AgentPaths.h"
#include "agents/AgentStorage.h"
#include "agents/AgentStoreSources.h"
#include "agents/CodexDatabase.h"
#include "agents/CodexSessionRemoval.h"
#include "agents/CodexThreads.h"
#include "agents/Sqlite.h"
#include "platform/Paths.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <sqlite3.h>

namespace corvane::AgentStoreSources {
namespace {

struct Thread {
    QString id;
    QString cwd;
    std::optional<QString> title;
    std::optional<QDateTime> updatedAt;
    QString rolloutPath;
};

// The columns read here; a database without one of them has a layout this version does not know.
bool hasKnownSchema(sqlite3* connection) {
    for (const char* column : {"id", "cwd", "title", "updated_at", "rollout_path"}) {
        if (!Sqlite::hasColumn(connection, QStringLiteral("threads"), QLatin1String(column)))
            return false;
    }
    return true;
}

// Every thread that names its session log, archived ones too: their logs take space as well.
std::optional<QList<Thread>> readThreads(sqlite3* connection, bool macPathRules) {
    if (!hasKnownSchema(connection))
        return std::nullopt;
    const Sqlite::Statement statement = Sqlite::prepare(
        connection, QStringLiteral("SELECT id, cwd, title, updated_at, rollout_path FROM threads"));
    if (!statement)
        return std::nullopt;
    QList<Thread> threads;
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        Thread thread;
        thread.id = Sqlite::columnText(statement.get(), 0).value_or(QString());
        thread.cwd = AgentPaths::normalized(
            Sqlite::columnText(statement.get(), 1).value_or(QString()), macPathRules);
        thread.title =
            CodexThreads::threadTitle(std::nullopt, Sqlite::columnText(statement.get(), 2));
        const qint64 updated = sqlite3_column_int64(statement.get(), 3);
        if (updated > 0)
            thread.updatedAt = QDateTime::fromSecsSinceEpoch(
                updated >= 100'000'000'000 ? updated / 1000 : updated);
        thread.rolloutPath = Sqlite::columnText(statement.get(), 4).value_or(QString());
        if (!thread.id.isEmpty())
            threads.append(thread);
    }
    return threads;
}

class CodexReader {
public:
    explicit CodexReader(const Context& context)
        : context_(context)
        , home_(context.locations.codexHome) {
        for (const AgentSession& session : context.index.sessions) {
            if (session.agent == AgentKind::codex)
                indexed_.insert(session.id, session);
        }
    }

    QList<AgentStoreRow> read() {
        if (!QFileInfo(home_).isDir())
            return {};
        const std::optional<QString> database = CodexDatabase::latestStatePath(home_);
        std::optional<QList<Thread>> threads;
        if (database) {
            const Sqlite::Connection connection = CodexDatabase::openReadOnly(*database);
            if (connection)
                threads = readThreads(connection.get(), context_.locations.macPathRules);
        }
        databaseBusy_ = database && threads && CodexSessionRemoval::isBusy(*database);
        QSet<QString> named;
        for (const Thread& thread : threads.value_or(QList<Thread>())) {
            AgentStoreRow row = threadRow(thread, *database);
            named.insert(thread.rolloutPath);
            if (!row.items.isEmpty())
                rows_.append(row);
        }
        addUnnamedLogs(named, database.has_value() && !threads);
        addLeftovers();
        rows_ += neverTouched(home_, AgentKind::codex, context_.cancellation);
        return rows_;
    }

private:
    AgentStoreRow threadRow(const Thread& thread, const QString& database) {
        AgentStoreRow row;
        row.id = thread.id;
        row.agent = AgentKind::codex;
        const AgentSession session = indexed_.value(thread.id);
        row.name =
            session.title.value_or(thread.title.value_or(QStringLiteral("Untitled session")));
        row.project = thread.cwd;
        row.updatedAt = thread.updatedAt;
        row.root = home_;
        // A session log goes only together with its thread's row in the database, or Codex
        // would list a session it can no longer open.
        row.threadDatabase = database;
        row.threadID = thread.id;
        if (databaseBusy_)
            row.blockedReason = CodexSessionRemoval::busyMessage;
        if (!thread.rolloutPath.isEmpty())
            AgentStorage::addMeasured(row, thread.rolloutPath, context_.cancellation);
        AgentStorage::classifyHistory(row, context_.newPlaces);
        return row;
    }

    // Session logs no thread of the database names: from before the database, or left behind.
    void addUnnamedLogs(const QSet<QString>& named, bool unknownSchema) {
        AgentStoreRow row;
        row.id = home_ + QStringLiteral("/sessions");
        row.agent = AgentKind::codex;
        row.name = QStringLiteral("Session logs Codex does not list");
        row.root = home_;
        row.reason = QStringLiteral("No thread of Codex's database names them");
        if (unknownSchema) {
            row.name = QStringLiteral("Session logs");
            row.blockedReason =
                QStringLiteral("Codex's database has a layout this version does not know, so "
                               "its sessions are kept");
        }
        QDirIterator logs(row.id, {QStringLiteral("*.jsonl")}, QDir::Files | QDir::Hidden,
                          QDirIterator::Subdirectories);
        while (logs.hasNext()) {
            const QString path = logs.next();
            if (!named.contains(path))
                AgentStorage::addMeasured(row, path, context_.cancellation);
        }
        if (!row.items.isEmpty())
            rows_.append(row);
    }

    void addLeftovers() {
        AgentStoreRow row;
        row.id = home_ + QStringLiteral("/log");
        row.agent = AgentKind::codex;
        row.kind = AgentStoreKind::leftovers;
        row.name = QStringLiteral("Codex logs");
        row.reason = QStringLiteral("Codex writes its logs anew");
        row.root = home_;
        row.tickedByDefault = true;
        AgentStorage::addMeasured(row, row.id, context_.cancellation);
        if (!row.items.isEmpty())
            rows_.append(row);
    }

    const Context& context_;
    QString home_;
    QHash<QString, AgentSession> indexed_;
    QList<AgentStoreRow> rows_;
    bool databaseBusy_ = false;
};

} // namespace

QList<AgentStoreRow> codex(const Context& context) {
    return CodexReader(context).read();
}

} // namespace corvane::AgentStoreSources
