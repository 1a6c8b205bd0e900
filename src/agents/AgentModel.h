#pragma once

// The vocabulary of coding-agent history: which agent, which conversation or editor workspace,
// and in which folder. Plain values; paths are normalised (see AgentPaths.h).

#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>
#include <optional>

namespace corvane {

// Declaration order is the display order.
enum class AgentKind { claudeCode, codex, cursor, vscode, antigravity };

const QList<AgentKind>& allAgentKinds();
QString rawValue(AgentKind kind);
QString displayName(AgentKind kind);
std::optional<AgentKind> agentKindFromRaw(const QString& raw);

// One conversation of a terminal agent (Claude Code or Codex).
struct AgentSession {
    AgentKind agent = AgentKind::claudeCode;
    QString id;
    std::optional<QString> desktopID;
    std::optional<QString> title;
    QString cwd;
    std::optional<QDateTime> updatedAt;
    // The session's own record on disk, when known: a Claude Code ".jsonl" file, the session log
    // a Codex thread points at.
    QString file;

    bool operator==(const AgentSession&) const = default;
};

// The command that continues `session` in a terminal: "cd '<folder>' && claude --resume <id>" for
// Claude Code, "... && codex resume <id>" for Codex; every word from the record is quoted for the
// shell. It is for the user to paste, never run here.
std::optional<QString> resumeCommand(const AgentSession& session);

// One editor workspace that was opened on a folder.
struct AgentWorkspace {
    AgentKind agent = AgentKind::vscode;
    QString folder;
    std::optional<QDateTime> lastUsedAt;
    QString appName;
    QString appBundleID;
    // The editor's storage folder for this workspace.
    QString storageFolder;

    bool operator==(const AgentWorkspace&) const = default;
};

// Where one editor keeps its workspace records.
struct EditorStorage {
    AgentKind agent = AgentKind::vscode;
    QString appName;
    QString appBundleID;
    QString url;

    bool operator==(const EditorStorage&) const = default;
};

// What one agent did for one project: its sessions and workspaces there, and the sessions that
// ran in the folder that encloses the project (started one level up).
struct AgentActivity {
    AgentKind agent = AgentKind::claudeCode;
    QList<AgentSession> sessions;
    QList<AgentWorkspace> workspaces;
    QSet<QString> parentFolderSessionIDs;
    std::optional<QString> parentFolderName;

    bool operator==(const AgentActivity&) const = default;
};

// Sessions and workspaces most recent first; undated ones last.
void sortMostRecentFirst(AgentActivity& activity);

} // namespace corvane
