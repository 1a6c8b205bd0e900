#include "agents/AgentLocations.h"

#include "platform/Locations.h"
#include "platform/Paths.h"

namespace corvane {
namespace {

struct EditorRow {
    AgentKind agent;
    const char* appName;
    const char* folder;
    const char* bundleID;
};

constexpr EditorRow editorRows[] = {
    {AgentKind::cursor, "Cursor", "Cursor", "com.todesktop.230313mzl4w4u92"},
    {AgentKind::vscode, "VS Code", "Code", "com.microsoft.VSCode"},
    {AgentKind::antigravity, "Antigravity", "Antigravity", "com.google.antigravity"},
    {AgentKind::antigravity, "Antigravity", "Antigravity IDE", "com.google.antigravity-ide"},
};

QList<EditorStorage> editorStoragesUnder(const QString& root) {
    QList<EditorStorage> storages;
    for (const EditorRow& row : editorRows) {
        const QString folder = QLatin1String(row.folder);
        storages.append({row.agent, QLatin1String(row.appName), QLatin1String(row.bundleID),
                         root + u'/' + folder + QStringLiteral("/User/workspaceStorage")});
    }
    return storages;
}

} // namespace

AgentLocations::AgentLocations()
    : AgentLocations(Locations::homeDir()) {}

AgentLocations::AgentLocations(const QString& homeFolder)
    : home(Paths::standardized(homeFolder))
    , macPathRules(Locations::isMac()) {
    const QString macSupport = home + QStringLiteral("/Library/Application Support");
    const QString linuxConfig = home + QStringLiteral("/.config");
    claudeProjects = home + QStringLiteral("/.claude/projects");
    claudeDesktopSessions = {macSupport + QStringLiteral("/Claude/claude-code-sessions"),
                             linuxConfig + QStringLiteral("/Claude/claude-code-sessions")};
    claudeConfig = home + QStringLiteral("/.claude.json");
    codexHome = home + QStringLiteral("/.codex");
    editorStorages = editorStoragesUnder(macSupport) + editorStoragesUnder(linuxConfig);
    claudeFolderLedger.url =
        Locations::appSupportDir() + QStringLiteral("/claude-folder-paths.json");
}

} // namespace corvane
