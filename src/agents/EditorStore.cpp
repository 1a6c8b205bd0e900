#include "agents/AgentStorage.h"
#include "agents/AgentStoreRules.h"
#include "agents/AgentStoreSources.h"
#include "platform/Paths.h"

#include <QFileInfo>

namespace corvane::AgentStoreSources {
namespace {

// The workspace a storage folder belongs to, as the index read it.
QHash<QString, AgentWorkspace> workspacesByStorage(const AgentHistoryIndex& index) {
    QHash<QString, AgentWorkspace> workspaces;
    for (const AgentWorkspace& workspace : index.workspaces)
        workspaces.insert(workspace.storageFolder, workspace);
    return workspaces;
}

AgentStoreRow workspaceRow(const EditorStorage& storage, const QString& folder,
                           const std::optional<AgentWorkspace>& workspace,
                           const CancellationToken& cancellation) {
    AgentStoreRow row;
    row.id = folder;
    row.agent = storage.agent;
    row.root = storage.url;
    row.ownParts = AgentStoreRules::workspaceStateFiles();
    AgentStorage::addMeasured(row, folder, cancellation);
    if (!workspace) {
        row.name = storage.appName + QStringLiteral(" window state");
        row.kind = AgentStoreKind::projectHistory;
        row.reason = QStringLiteral("Not tied to a folder on this computer (an empty window, a "
                                    "multi-root or a remote workspace)");
        row.updatedAt = QFileInfo(folder).lastModified();
        return row;
    }
    row.name = storage.appName + QStringLiteral(" workspace of ") +
               Paths::lastComponent(workspace->folder);
    row.project = workspace->folder;
    row.updatedAt = workspace->lastUsedAt;
    // A workspace cannot be relinked: the editor names its storage after the folder's path, so
    // a moved project gets a new one anyway.
    AgentStorage::classifyHistory(row, {});
    return row;
}

} // namespace

QList<AgentStoreRow> editors(const Context& context) {
    const QHash<QString, AgentWorkspace> workspaces = workspacesByStorage(context.index);
    QList<AgentStoreRow> rows;
    for (const EditorStorage& storage : context.locations.editorStorages) {
        for (const QString& name : entriesOf(storage.url)) {
            const QString folder = Paths::joined(storage.url, name);
            if (!QFileInfo(folder).isDir() || QFileInfo(folder).isSymLink())
                continue;
            context.cancellation.throwIfCancelled();
            const auto workspace = workspaces.constFind(folder);
            rows.append(workspaceRow(storage, folder,
                                     workspace == workspaces.cend()
                                         ? std::nullopt
                                         : std::optional<AgentWorkspace>(*workspace),
                                     context.cancellation));
        }
    }
    return rows;
}

} // namespace corvane::AgentStoreSources
