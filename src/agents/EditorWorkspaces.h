#pragma once

#include "agents/AgentModel.h"

#include <QList>

// The folders an editor (VS Code and its relatives) has opened, from its workspace storage.
namespace corvane::EditorWorkspaces {

// One workspace per storage sub-folder whose "workspace.json" names a local folder ("file"
// URL); remote folders and multi-root workspaces are left out. A "workspace.json" that is there
// but cannot be read (or is over InputLimits::smallFileBytes, or not JSON) is added to
// `problems`, named.
QList<AgentWorkspace> read(const EditorStorage& storage, bool macPathRules,
                           QStringList* problems = nullptr);

// The local folder a "folder" URL of "workspace.json" stands for, or nothing.
std::optional<QString> localFolder(const QString& folderURL);

} // namespace corvane::EditorWorkspaces
