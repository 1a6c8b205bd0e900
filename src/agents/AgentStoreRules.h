#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// What of a coding agent's data is never offered for removal and never moved, whoever asks:
// credentials and account files, settings, memory and instructions, plugins and their caches, MCP
// configuration, and every database file itself. Everything that removes agent data asks here
// first, so ticking a row or naming it on the command line cannot get past it.
namespace corvane::AgentStoreRules {

// Why an entry named `name` is never touched ("Credentials"), or nothing.
std::optional<QString> protectedKind(const QString& name, bool isFolder);

// Why the item at `path` must stay: it is a never-touched entry or holds one (looked at to any
// depth, links not followed), or nothing. `ownParts` are names of files that belong to the item
// and go with it, such as the state database an editor keeps inside one workspace's folder.
std::optional<QString> refusal(const QString& path, const QStringList& ownParts = {});

// The files an editor keeps inside one workspace's storage folder that go with the folder.
const QStringList& workspaceStateFiles();

} // namespace corvane::AgentStoreRules
