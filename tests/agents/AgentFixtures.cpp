#include "AgentFixtures.h"

#include "agents/ClaudeHistory.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace corvane::test {

AgentLocations makeAgentHome() {
    const QString home = makeTempDir(QStringLiteral("home"));
    AgentLocations locations(home);
    locations.claudeFolderLedger.url = home + QStringLiteral("/ledger/claude-folder-paths.json");
    locations.macPathRules = false;
    return locations;
}

QByteArray claudeLine(const QString& cwd, const QString& sessionID) {
    const QJsonObject line{{QStringLiteral("parentUuid"), QJsonValue()},
                           {QStringLiteral("cwd"), cwd},
                           {QStringLiteral("sessionId"), sessionID},
                           {QStringLiteral("type"), QStringLiteral("user")}};
    return QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
}

QString writeClaudeSession(const AgentLocations& locations, const QString& folderName,
                           const QString& id, const QByteArray& contents) {
    const QString path =
        locations.claudeProjects + u'/' + folderName + u'/' + id + QStringLiteral(".jsonl");
    writeFile(path, contents);
    return path;
}

QString writeClaudeSessionIn(const AgentLocations& locations, const QString& cwd,
                             const QString& id) {
    return writeClaudeSession(locations, ClaudeHistory::encodedFolderName(cwd), id,
                              claudeLine(cwd));
}

QStringList idsOf(const QList<AgentSession>& sessions) {
    QStringList ids;
    for (const AgentSession& session : sessions)
        ids.append(session.id);
    return ids;
}

QStringList sessionIDsIn(const AgentLocations& locations, const QString& folder) {
    QStringList ids = idsOf(AgentHistoryIndex::build(locations).sessionsIn(folder));
    ids.sort();
    return ids;
}

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void exec(sqlite3* connection, const QString& sql) {
    char* error = nullptr;
    const int status = sqlite3_exec(connection, sql.toUtf8().constData(), nullptr, nullptr, &error);
    ASSERT_EQ(status, SQLITE_OK) << (error ? error : "") << " in " << sql.toStdString();
    sqlite3_free(error);
}

void createDatabase(const QString& path, const QString& sql) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    sqlite3* connection = nullptr;
    EXPECT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &connection), SQLITE_OK);
    exec(connection, sql);
    sqlite3_close(connection);
}

sqlite3* createCodexDatabase(const QString& path, const QString& extraColumns) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    sqlite3* connection = nullptr;
    EXPECT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &connection), SQLITE_OK);
    exec(connection,
         QStringLiteral("CREATE TABLE threads (id TEXT PRIMARY KEY, cwd TEXT, "
                        "title TEXT NOT NULL DEFAULT '', updated_at INTEGER NOT NULL "
                        "DEFAULT 0, archived INTEGER NOT NULL DEFAULT 0") +
             (extraColumns.isEmpty() ? QString() : QStringLiteral(", ") + extraColumns) + u')');
    return connection;
}

void insertThread(sqlite3* connection, const QString& id, const QString& cwd, const QString& title,
                  qint64 updatedAt, const QString& extraColumns, const QString& extraValues) {
    sqlite3_stmt* statement = nullptr;
    const QString sql = QStringLiteral("INSERT INTO threads (id, cwd, title, updated_at") +
                        (extraColumns.isEmpty() ? QString() : QStringLiteral(", ") + extraColumns) +
                        QStringLiteral(") VALUES (?1, ?2, ?3, ?4") +
                        (extraValues.isEmpty() ? QString() : QStringLiteral(", ") + extraValues) +
                        u')';
    ASSERT_EQ(sqlite3_prepare_v2(connection, sql.toUtf8().constData(), -1, &statement, nullptr),
              SQLITE_OK)
        << sqlite3_errmsg(connection);
    const QByteArray idText = id.toUtf8();
    const QByteArray cwdText = cwd.toUtf8();
    const QByteArray titleText = title.toUtf8();
    sqlite3_bind_text(statement, 1, idText.constData(), -1, SQLITE_TRANSIENT);
    if (cwd.isNull())
        sqlite3_bind_null(statement, 2);
    else
        sqlite3_bind_text(statement, 2, cwdText.constData(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(statement, 3, titleText.constData(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_int64(statement, 4, updatedAt);
    EXPECT_EQ(sqlite3_step(statement), SQLITE_DONE) << sqlite3_errmsg(connection);
    sqlite3_finalize(statement);
}

QStringList queryColumn(sqlite3* connection, const QString& sql) {
    QStringList values;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection, sql.toUtf8().constData(), -1, &statement, nullptr) !=
        SQLITE_OK) {
        ADD_FAILURE() << sqlite3_errmsg(connection);
        return values;
    }
    while (sqlite3_step(statement) == SQLITE_ROW)
        values.append(
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
    sqlite3_finalize(statement);
    return values;
}

} // namespace corvane::test
