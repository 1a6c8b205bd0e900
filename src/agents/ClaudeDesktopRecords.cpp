#include "agents/ClaudeDesktopRecords.h"

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentPaths.h"
#include "platform/InputLimits.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

namespace corvane {
namespace {

std::optional<QString> nonEmptyString(const QJsonObject& object, const QString& key) {
    const QString value = object.value(key).toString();
    if (value.isEmpty())
        return std::nullopt;
    return value;
}

std::optional<AgentHistoryIndex::DesktopEntry> entryOf(const QString& path, bool macPathRules) {
    const InputLimits::FileRead file = InputLimits::readFile(path);
    if (!file.bytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*file.bytes);
    const QJsonObject record = document.object();
    const std::optional<QString> desktopID = nonEmptyString(record, QStringLiteral("sessionId"));
    if (!document.isObject() || !desktopID)
        return std::nullopt;
    AgentHistoryIndex::DesktopEntry entry;
    entry.desktopID = *desktopID;
    entry.cliSessionID = nonEmptyString(record, QStringLiteral("cliSessionId"));
    entry.title = nonEmptyString(record, QStringLiteral("title"));
    // "cwd" is where the session runs now; "originCwd" where it began, the better second guess.
    std::optional<QString> cwd = nonEmptyString(record, QStringLiteral("cwd"));
    if (!cwd)
        cwd = nonEmptyString(record, QStringLiteral("originCwd"));
    if (cwd)
        entry.cwd = AgentPaths::normalized(*cwd, macPathRules);
    const QJsonValue lastActivity = record.value(QStringLiteral("lastActivityAt"));
    if (lastActivity.isDouble()) {
        const double milliseconds = lastActivity.toDouble();
        entry.lastActivity =
            QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds), QTimeZone::utc());
    }
    entry.isArchived = record.value(QStringLiteral("isArchived")).toBool(false);
    entry.file = path;
    return entry;
}

} // namespace

QStringList ClaudeDesktopRecords::files(const QStringList& folders) {
    QStringList files;
    for (const QString& folder : folders) {
        QStringList found;
        QDirIterator walker(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (walker.hasNext()) {
            const QString path = walker.next();
            const QString name = walker.fileName();
            if (name.startsWith(QStringLiteral("local_")) && name.endsWith(QStringLiteral(".json")))
                found.append(path);
        }
        found.sort();
        files += found;
    }
    return files;
}

QList<AgentHistoryIndex::DesktopEntry> AgentHistoryIndex::desktopEntries(const QStringList& folders,
                                                                         bool macPathRules) {
    QList<DesktopEntry> entries;
    for (const QString& path : ClaudeDesktopRecords::files(folders)) {
        if (std::optional<DesktopEntry> entry = entryOf(path, macPathRules))
            entries.append(*entry);
    }
    return entries;
}

} // namespace corvane
