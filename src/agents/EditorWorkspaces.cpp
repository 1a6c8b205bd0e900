#include "agents/EditorWorkspaces.h"

#include "agents/AgentPaths.h"
#include "platform/InputLimits.h"
#include "platform/JsonFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

namespace corvane::EditorWorkspaces {
namespace {

std::optional<QString> folderURLIn(const QString& workspaceFile, QStringList* problems) {
    const auto refuse = [&](const QString& why) -> std::optional<QString> {
        if (problems)
            problems->append(InputLimits::refusal(workspaceFile, why));
        return std::nullopt;
    };
    // A storage folder of a window without a folder has no "workspace.json" at all.
    if (!QFileInfo::exists(workspaceFile))
        return std::nullopt;
    const InputLimits::FileRead file =
        InputLimits::readFile(workspaceFile, InputLimits::smallFileBytes);
    if (!file.bytes)
        return refuse(file.problem);
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(*file.bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return refuse(JsonFile::parseProblem(error));
    const QJsonValue folder = document.object().value(QStringLiteral("folder"));
    if (!folder.isString())
        return std::nullopt;
    return folder.toString();
}

// The editor keeps "state.vscdb" up to date while the workspace is open; "workspace.json" is
// written once, when the storage folder is made.
std::optional<QDateTime> lastUsed(const QDir& storageFolder) {
    QFileInfo state(storageFolder.filePath(QStringLiteral("state.vscdb")));
    if (!state.exists())
        state = QFileInfo(storageFolder.filePath(QStringLiteral("workspace.json")));
    const QDateTime modified = state.lastModified();
    if (!modified.isValid())
        return std::nullopt;
    return modified;
}

} // namespace

std::optional<QString> localFolder(const QString& folderURL) {
    const QUrl url(folderURL);
    if (!url.isValid() || url.scheme() != QStringLiteral("file") || !url.host().isEmpty())
        return std::nullopt;
    const QString path = url.toLocalFile();
    if (!path.startsWith(u'/'))
        return std::nullopt;
    return path;
}

QList<AgentWorkspace> read(const EditorStorage& storage, bool macPathRules, QStringList* problems) {
    QList<AgentWorkspace> workspaces;
    const QDir root(storage.url);
    const QStringList folders =
        root.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
    for (const QString& name : folders) {
        const QDir folder(root.filePath(name));
        const std::optional<QString> url =
            folderURLIn(folder.filePath(QStringLiteral("workspace.json")), problems);
        const std::optional<QString> path = url ? localFolder(*url) : std::nullopt;
        if (!path)
            continue;
        AgentWorkspace workspace;
        workspace.agent = storage.agent;
        workspace.folder = AgentPaths::normalized(*path, macPathRules);
        workspace.lastUsedAt = lastUsed(folder);
        workspace.appName = storage.appName;
        workspace.appBundleID = storage.appBundleID;
        workspace.storageFolder = folder.path();
        workspaces.append(workspace);
    }
    return workspaces;
}

} // namespace corvane::EditorWorkspaces
