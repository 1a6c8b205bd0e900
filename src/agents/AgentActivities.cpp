#include "agents/AgentHistoryIndex.h"
#include "agents/AgentPaths.h"
#include "platform/Paths.h"

#include <algorithm>

namespace corvane {
namespace {

// Most recent first; undated records last, then by name so the order is stable.
template <typename Record, typename DateOf, typename NameOf>
void sortByDate(QList<Record>& records, DateOf dateOf, NameOf nameOf) {
    std::stable_sort(records.begin(), records.end(), [&](const Record& a, const Record& b) {
        const std::optional<QDateTime> first = dateOf(a);
        const std::optional<QDateTime> second = dateOf(b);
        if (first.has_value() != second.has_value())
            return first.has_value();
        if (first && *first != *second)
            return *first > *second;
        return nameOf(a) < nameOf(b);
    });
}

// The folder whose sessions count for the project although they ran one level up: the
// project's parent, unless that is the home folder or the root, where agents are started for
// everything and nothing in particular.
std::optional<QString> enclosingFolder(const QString& project, const QString& home) {
    if (project == QStringLiteral("/"))
        return std::nullopt;
    const QString parent = Paths::parentPath(project);
    if (parent == QStringLiteral("/") || parent == home)
        return std::nullopt;
    return parent;
}

} // namespace

void sortMostRecentFirst(AgentActivity& activity) {
    sortByDate(
        activity.sessions, [](const AgentSession& s) { return s.updatedAt; },
        [](const AgentSession& s) { return s.id; });
    sortByDate(
        activity.workspaces, [](const AgentWorkspace& w) { return w.lastUsedAt; },
        [](const AgentWorkspace& w) { return w.folder; });
}

QList<AgentActivity> AgentHistoryIndex::activities(const QString& projectFolder) const {
    const QString project = AgentPaths::normalized(projectFolder, macPathRules);
    const std::optional<QString> parent = enclosingFolder(project, home);
    QList<AgentActivity> result;
    for (AgentKind kind : allAgentKinds()) {
        AgentActivity activity;
        activity.agent = kind;
        for (const AgentSession& session : sessions) {
            if (session.agent != kind)
                continue;
            if (AgentPaths::isAtOrInside(session.cwd, project)) {
                activity.sessions.append(session);
            } else if (parent && session.cwd == *parent) {
                activity.sessions.append(session);
                activity.parentFolderSessionIDs.insert(session.id);
                activity.parentFolderName = Paths::lastComponent(*parent);
            }
        }
        for (const AgentWorkspace& workspace : workspaces) {
            if (workspace.agent == kind && AgentPaths::isAtOrInside(workspace.folder, project))
                activity.workspaces.append(workspace);
        }
        if (activity.sessions.isEmpty() && activity.workspaces.isEmpty())
            continue;
        sortMostRecentFirst(activity);
        result.append(activity);
    }
    return result;
}

} // namespace corvane
