#include "agents/CodexDatabase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QUrlQuery>
#include <algorithm>
#include <sqlite3.h>

namespace corvane::CodexDatabase {
namespace {

constexpr int readBusyTimeoutMs = 2000;

std::optional<qulonglong> generationOf(const QString& fileName) {
    const QString prefix = QStringLiteral("state_");
    const QString suffix = QStringLiteral(".sqlite");
    if (!fileName.startsWith(prefix) || !fileName.endsWith(suffix))
        return std::nullopt;
    const QString number =
        fileName.mid(prefix.size(), fileName.size() - prefix.size() - suffix.size());
    bool ok = false;
    const qulonglong generation = number.toULongLong(&ok);
    // toULongLong accepts a leading "+" or spaces; a generation is digits only.
    const bool digitsOnly =
        !number.isEmpty() &&
        std::all_of(number.begin(), number.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    if (!ok || !digitsOnly)
        return std::nullopt;
    return generation;
}

Sqlite::Connection proved(Sqlite::Connection connection) {
    if (!connection)
        return connection;
    sqlite3_busy_timeout(connection.get(), readBusyTimeoutMs);
    const Sqlite::Statement statement =
        Sqlite::prepare(connection.get(), QStringLiteral("SELECT count(*) FROM sqlite_master"));
    if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW)
        return {};
    return connection;
}

} // namespace

std::optional<QString> latestStatePath(const QString& codexHome) {
    const QDir folder(codexHome);
    std::optional<qulonglong> best;
    QString bestName;
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden)) {
        const std::optional<qulonglong> generation = generationOf(name);
        if (generation && (!best || *generation > *best)) {
            best = generation;
            bestName = name;
        }
    }
    if (!best)
        return std::nullopt;
    return folder.filePath(bestName);
}

Sqlite::Connection openPlainReadOnly(const QString& path) {
    return proved(Sqlite::open(QFile::encodeName(path), SQLITE_OPEN_READONLY));
}

Sqlite::Connection openImmutable(const QString& path) {
    QUrl url = QUrl::fromLocalFile(path);
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("mode"), QStringLiteral("ro"));
    query.addQueryItem(QStringLiteral("immutable"), QStringLiteral("1"));
    url.setQuery(query);
    return proved(Sqlite::open(url.toEncoded(), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI));
}

Sqlite::Connection openReadOnly(const QString& path) {
    if (!QFileInfo(path).isFile())
        return {};
    const bool hasWriteAheadLog = QFileInfo::exists(path + QStringLiteral("-wal"));
    if (hasWriteAheadLog) {
        if (Sqlite::Connection connection = openPlainReadOnly(path))
            return connection;
        return openImmutable(path);
    }
    if (Sqlite::Connection connection = openImmutable(path))
        return connection;
    return openPlainReadOnly(path);
}

} // namespace corvane::CodexDatabase
