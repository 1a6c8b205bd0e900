#include "agents/CodexSessionRemoval.h"

#include "agents/Sqlite.h"
#include "platform/Locations.h"
#include "platform/OwnFile.h"

#include <QFile>
#include <QJsonArray>
#include <sqlite3.h>

namespace corvane::CodexSessionRemoval {
namespace {

constexpr int busyTimeoutMs = 1000;

bool exec(sqlite3* connection, const char* sql) {
    return sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// One column as {"integer": "…"}, {"real": …}, {"text": "…"}, {"blob": base64} or {"null": true}:
// the type SQLite stored, so the row comes back byte for byte. Integers as text keep 64 bits.
QJsonObject columnValue(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return {
            {QStringLiteral("integer"), QString::number(sqlite3_column_int64(statement, column))}};
    case SQLITE_FLOAT:
        return {{QStringLiteral("real"), sqlite3_column_double(statement, column)}};
    case SQLITE_TEXT:
        return {
            {QStringLiteral("text"), Sqlite::columnText(statement, column).value_or(QString())}};
    case SQLITE_BLOB: {
        const QByteArray bytes(static_cast<const char*>(sqlite3_column_blob(statement, column)),
                               sqlite3_column_bytes(statement, column));
        return {{QStringLiteral("blob"), QString::fromLatin1(bytes.toBase64())}};
    }
    default:
        return {{QStringLiteral("null"), true}};
    }
}

bool bindValue(sqlite3_stmt* statement, int index, const QJsonObject& value) {
    if (value.contains(QStringLiteral("integer")))
        return sqlite3_bind_int64(statement, index,
                                  value.value(QStringLiteral("integer")).toString().toLongLong()) ==
               SQLITE_OK;
    if (value.contains(QStringLiteral("real")))
        return sqlite3_bind_double(statement, index,
                                   value.value(QStringLiteral("real")).toDouble()) == SQLITE_OK;
    if (value.contains(QStringLiteral("text")))
        return Sqlite::bindText(statement, index, value.value(QStringLiteral("text")).toString());
    if (value.contains(QStringLiteral("blob"))) {
        const QByteArray bytes =
            QByteArray::fromBase64(value.value(QStringLiteral("blob")).toString().toLatin1());
        return sqlite3_bind_blob64(statement, index, bytes.constData(),
                                   static_cast<sqlite3_uint64>(bytes.size()),
                                   SQLITE_TRANSIENT) == SQLITE_OK;
    }
    return sqlite3_bind_null(statement, index) == SQLITE_OK;
}

Sqlite::Connection openForWriting(const QString& database) {
    Sqlite::Connection connection =
        Sqlite::open(QFile::encodeName(database), SQLITE_OPEN_READWRITE);
    if (connection)
        sqlite3_busy_timeout(connection.get(), busyTimeoutMs);
    return connection;
}

std::optional<QJsonObject> rowOf(sqlite3* connection, const QString& threadID) {
    const Sqlite::Statement select =
        Sqlite::prepare(connection, QStringLiteral("SELECT * FROM threads WHERE id = ?1"));
    if (!select || !Sqlite::bindText(select.get(), 1, threadID) ||
        sqlite3_step(select.get()) != SQLITE_ROW)
        return std::nullopt;
    QJsonObject columns;
    for (int column = 0; column < sqlite3_column_count(select.get()); ++column)
        columns.insert(QString::fromUtf8(sqlite3_column_name(select.get(), column)),
                       columnValue(select.get(), column));
    return columns;
}

bool deleteRow(sqlite3* connection, const QString& threadID) {
    const Sqlite::Statement remove =
        Sqlite::prepare(connection, QStringLiteral("DELETE FROM threads WHERE id = ?1"));
    return remove && Sqlite::bindText(remove.get(), 1, threadID) &&
           sqlite3_step(remove.get()) == SQLITE_DONE && sqlite3_changes(connection) == 1;
}

// One session: the row goes only when the log went.
void removeOne(const Session& session, const PlatformTrash& platform, Outcome& outcome) {
    const auto fail = [&](const QString& message) {
        outcome.trash.failures.append({session.log, message});
    };
    const Sqlite::Connection connection = openForWriting(session.database);
    if (!connection)
        return fail(QStringLiteral("Codex's database could not be opened"));
    if (!exec(connection.get(), "BEGIN IMMEDIATE")) {
        const int status = sqlite3_errcode(connection.get());
        return fail(status == SQLITE_BUSY || status == SQLITE_LOCKED
                        ? busyMessage
                        : QStringLiteral("Codex's database could not be changed"));
    }
    const std::optional<QJsonObject> columns = rowOf(connection.get(), session.threadID);
    if (!columns || !deleteRow(connection.get(), session.threadID)) {
        exec(connection.get(), "ROLLBACK");
        return fail(columns ? QStringLiteral("Codex's database could not be changed")
                            : goneMessage);
    }
    const TrashOutcome moved = TrashService::trash({session.log}, session.root, platform);
    outcome.trash.append(moved);
    // A commit that fails after the move leaves the row as it was; Put Back brings the log back.
    if (moved.trashed.isEmpty() || !exec(connection.get(), "COMMIT")) {
        exec(connection.get(), "ROLLBACK");
        return;
    }
    outcome.records.append({session.database, session.threadID, session.log, *columns});
}

QJsonObject recordJson(const QString& cleanupID, const ThreadRecord& record) {
    return {{QStringLiteral("cleanupID"), cleanupID},
            {QStringLiteral("database"), record.database},
            {QStringLiteral("threadID"), record.threadID},
            {QStringLiteral("log"), record.log},
            {QStringLiteral("columns"), record.columns}};
}

ThreadRecord recordFromJson(const QJsonObject& object) {
    return {object.value(QStringLiteral("database")).toString(),
            object.value(QStringLiteral("threadID")).toString(),
            object.value(QStringLiteral("log")).toString(),
            object.value(QStringLiteral("columns")).toObject()};
}

OwnFile recordFile(const QString& path) {
    return OwnFile(path, QStringLiteral("The record of removed Codex sessions"),
                   {OwnFile::Layout::array, {}, [](const QJsonValue& value) {
                        return value.toObject().value(QStringLiteral("cleanupID")).isString();
                    }});
}

} // namespace

Outcome remove(const QList<Session>& sessions, const PlatformTrash& platform) {
    Outcome outcome;
    for (const Session& session : sessions)
        removeOne(session, platform, outcome);
    return outcome;
}

QString restore(const ThreadRecord& record) {
    const Sqlite::Connection connection = openForWriting(record.database);
    if (!connection)
        return QStringLiteral("Codex's database could not be opened");
    if (rowOf(connection.get(), record.threadID))
        return {};
    QStringList names;
    QStringList places;
    for (auto it = record.columns.constBegin(); it != record.columns.constEnd(); ++it) {
        names.append(u'"' + QString(it.key()).replace(u'"', QStringLiteral("\"\"")) + u'"');
        places.append(u'?' + QString::number(names.size()));
    }
    const Sqlite::Statement insert = Sqlite::prepare(
        connection.get(), QStringLiteral("INSERT INTO threads (") + names.join(u',') +
                              QStringLiteral(") VALUES (") + places.join(u',') + u')');
    if (!insert)
        return QStringLiteral("Codex's database has changed its layout since");
    int index = 0;
    for (auto it = record.columns.constBegin(); it != record.columns.constEnd(); ++it) {
        if (!bindValue(insert.get(), ++index, it.value().toObject()))
            return QStringLiteral("Codex's database could not be changed");
    }
    const int status = sqlite3_step(insert.get());
    if (status == SQLITE_BUSY || status == SQLITE_LOCKED)
        return busyMessage;
    return status == SQLITE_DONE ? QString()
                                 : QStringLiteral("Codex's database could not be changed");
}

bool isBusy(const QString& database) {
    const Sqlite::Connection connection =
        Sqlite::open(QFile::encodeName(database), SQLITE_OPEN_READWRITE);
    if (!connection)
        return false;
    // No waiting: a lock held now is the answer.
    const bool locked = !exec(connection.get(), "BEGIN IMMEDIATE");
    if (!locked)
        exec(connection.get(), "ROLLBACK");
    return locked;
}

RecordStore::RecordStore()
    : RecordStore(Locations::appSupportDir() + QStringLiteral("/codex-thread-records.json")) {}

RecordStore::RecordStore(QString path)
    : path_(std::move(path)) {}

QString RecordStore::save(const QString& cleanupID, const QList<ThreadRecord>& records) const {
    if (records.isEmpty())
        return {};
    return recordFile(path_)
        .update([&](QList<QJsonValue>& stored) {
            for (const ThreadRecord& record : records)
                stored.append(recordJson(cleanupID, record));
        })
        .error;
}

QList<ThreadRecord> RecordStore::take(const QString& cleanupID,
                                      const QList<QString>& restoredLogs) const {
    QList<ThreadRecord> taken;
    recordFile(path_).update(
        [&](QList<QJsonValue>& stored) {
            stored.removeIf([&](const QJsonValue& value) {
                const QJsonObject object = value.toObject();
                if (object.value(QStringLiteral("cleanupID")).toString() != cleanupID ||
                    !restoredLogs.contains(object.value(QStringLiteral("log")).toString()))
                    return false;
                taken.append(recordFromJson(object));
                return true;
            });
        },
        OwnFile::WhenUnreadable::refuse);
    return taken;
}

} // namespace corvane::CodexSessionRemoval
