#include "agents/AgentHistoryIndex.h"

#include "agents/AgentPaths.h"
#include "agents/ClaudeSessions.h"
#include "agents/CodexThreads.h"
#include "agents/EditorWorkspaces.h"

#include <QHash>

namespace corvane {
namespace {

using DesktopEntry = AgentHistoryIndex::DesktopEntry;

// Of two records that continue one session, the one in use wins over an archived one, then
// the more recent one.
bool isBetterRecord(const DesktopEntry& candidate, const DesktopEntry& current) {
    if (candidate.isArchived != current.isArchived)
        return !candidate.isArchived;
    return candidate.lastActivity.value_or(QDateTime()) >
           current.lastActivity.value_or(QDateTime());
}

// Records without a Claude Code session id are conversations of the desktop app alone: there is
// no session file to attach them to, and nothing of theirs moves with a project folder here.
void attachDesktopRecords(QList<AgentSession>& sessions, const QList<DesktopEntry>& entries) {
    QHash<QString, DesktopEntry> best;
    for (const DesktopEntry& entry : entries) {
        if (!entry.cliSessionID)
            continue;
        const auto current = best.constFind(*entry.cliSessionID);
        if (current == best.constEnd() || isBetterRecord(entry, *current))
            best.insert(*entry.cliSessionID, entry);
    }
    for (AgentSession& session : sessions) {
        const auto entry = best.constFind(session.id);
        if (entry == best.constEnd())
            continue;
        session.desktopID = entry->desktopID;
        if (entry->title)
            session.title = entry->title;
        if (entry->lastActivity)
            session.updatedAt = entry->lastActivity;
    }
}

} // namespace

AgentHistoryIndex AgentHistoryIndex::build(const AgentLocations& locations) {
    AgentHistoryIndex index;
    index.home = AgentPaths::normalized(locations.home, locations.macPathRules);
    index.macPathRules = locations.macPathRules;

    QList<AgentSession> claude = ClaudeSessions::read(
        locations.claudeProjects, locations.claudeFolderLedger.load(), locations.macPathRules);
    index.desktopRecords = desktopEntries(locations.claudeDesktopSessions, locations.macPathRules);
    attachDesktopRecords(claude, index.desktopRecords);
    index.sessions = claude + CodexThreads::read(locations.codexHome, locations.macPathRules);

    for (const EditorStorage& storage : locations.editorStorages)
        index.workspaces +=
            EditorWorkspaces::read(storage, locations.macPathRules, &index.problems);
    return index;
}

QList<AgentSession> AgentHistoryIndex::sessionsIn(const QString& folder) const {
    const QString normalized = AgentPaths::normalized(folder, macPathRules);
    QList<AgentSession> found;
    for (const AgentSession& session : sessions) {
        if (AgentPaths::isAtOrInside(session.cwd, normalized))
            found.append(session);
    }
    return found;
}

QList<AgentWorkspace> AgentHistoryIndex::workspacesIn(const QString& folder) const {
    const QString normalized = AgentPaths::normalized(folder, macPathRules);
    QList<AgentWorkspace> found;
    for (const AgentWorkspace& workspace : workspaces) {
        if (AgentPaths::isAtOrInside(workspace.folder, normalized))
            found.append(workspace);
    }
    return found;
}

} // namespace corvane
