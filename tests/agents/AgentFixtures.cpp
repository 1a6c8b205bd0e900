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

AgentLocations makeAgentHome(const QString& folder) {
    const QString home = folder.isEmpty() ? makeTempDir(QStringLiteral("home")) : folder;
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

sqlite3* openDatabase(const QString& path) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    sqlite3* connection = nullptr;
    EXPECT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &connection), SQLITE_OK);
    return connection;
}

void createDatabase(const QString& path, const QString& sql) {
    sqlite3* connection = openDatabase(path);
    exec(connection, sql);
    sqlite3_close(connection);
}

sqlite3* createCodexDatabase(const QString& path, const QString& extraColumns) {
    sqlite3* connection = openDatabase(path);
    exec(connection,
         QStringLiteral("CREATE TABLE threads (id TEXT PRIMARY KEY, cwd TEXT, "
                        "title TEXT NOT NULL DEFAULT '', updated_at INTEGER NOT NULL "
                        "DEFAULT 0, archived INTEGER NOT NULL DEFAULT 0") +
             (extraColumns.isEmpty() ? QString() : QStringLiteral(", ") + extraColumns) + u')');
    return connection;
}

void insertThread(sqlite3* connection, const QString& id, const QString& cwd, const QString& title,
                  qint64 updatedAt, const QString& extraColumns, const QString& extraValues) {
    const auto quoted = [](const QString& text) {
        return text.isNull() ? QStringLiteral("NULL")
                             : u'\'' + QString(text).replace(u'\'', QStringLiteral("''")) + u'\'';
    };
    const QString comma = extraColumns.isEmpty() ? QString() : QStringLiteral(", ");
    exec(connection, QStringLiteral("INSERT INTO threads (id, cwd, title, updated_at%1%2) "
                                    "VALUES (%3, %4, %5, %6%1%7)")
                         .arg(comma, extraColumns, quoted(id), quoted(cwd),
                              quoted(title.isNull() ? QStringLiteral("") : title),
                              QString::number(updatedAt), extraValues));
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
