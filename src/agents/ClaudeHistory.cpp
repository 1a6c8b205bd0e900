#include "agents/ClaudeHistory.h"

#include "agents/AgentPaths.h"
#include "agents/SessionHead.h"
#include "platform/Paths.h"

#include <QDir>

namespace corvane::ClaudeHistory {

QString encodedFolderName(const QString& projectPath) {
    QString name = projectPath;
    for (QChar& unit : name) {
        const char16_t code = unit.unicode();
        const bool asciiAlphanumeric = (code >= u'a' && code <= u'z') ||
                                       (code >= u'A' && code <= u'Z') ||
                                       (code >= u'0' && code <= u'9');
        if (!asciiAlphanumeric)
            unit = u'-';
    }
    return name;
}

QStringList sessionFiles(const QString& folder) {
    return QDir(folder).entryList({QStringLiteral("*.jsonl")}, QDir::Files | QDir::Hidden,
                                  QDir::Name);
}

QString sessionKey(const QString& folderName, const QString& fileName) {
    return folderName + u'/' + fileName;
}

std::optional<QString> projectPath(const QString& folderName, const std::optional<QString>& cwd,
                                   const QMap<QString, QString>& ledger, bool macPathRules,
                                   const QString& fileName) {
    // Claude Code names the folder after the path as it was given, before any normalising.
    if (cwd && encodedFolderName(*cwd) == folderName)
        return AgentPaths::normalized(*cwd, macPathRules);
    auto recorded =
        fileName.isEmpty() ? ledger.constEnd() : ledger.constFind(sessionKey(folderName, fileName));
    if (recorded == ledger.constEnd())
        recorded = ledger.constFind(folderName);
    if (recorded != ledger.constEnd())
        return AgentPaths::normalized(*recorded, macPathRules);
    if (cwd)
        return AgentPaths::normalized(*cwd, macPathRules);
    return std::nullopt;
}

QMap<QString, QString> sessionProjects(const QString& folder, const QMap<QString, QString>& ledger,
                                       bool macPathRules) {
    const QString folderName = Paths::lastComponent(folder);
    QMap<QString, QString> projects;
    for (const QString& fileName : sessionFiles(folder)) {
        const std::optional<QString> path =
            projectPath(folderName, SessionHead::firstCwd(Paths::joined(folder, fileName)), ledger,
                        macPathRules, fileName);
        if (path)
            projects.insert(fileName, *path);
    }
    return projects;
}

std::optional<QString> projectPathOfFolder(const QString& folder,
                                           const QMap<QString, QString>& ledger,
                                           bool macPathRules) {
    const QString folderName = Paths::lastComponent(folder);
    for (const QString& fileName : sessionFiles(folder)) {
        const std::optional<QString> cwd = SessionHead::firstCwd(Paths::joined(folder, fileName));
        if (cwd)
            return projectPath(folderName, cwd, ledger, macPathRules, fileName);
    }
    return projectPath(folderName, std::nullopt, ledger, macPathRules);
}

} // namespace corvane::ClaudeHistory
