#include "agents/AgentsModel.h"

#include <algorithm>

namespace corvane {

AgentsModel::AgentsModel(ToastCenter& toasts, QObject* parent, AgentLocations locations)
    : InventoryModel(toasts, false, parent)
    , locations_(std::move(locations)) {}

void AgentsModel::setProjectFolders(const QStringList& folders) {
    projectFolders_ = folders;
}

void AgentsModel::startLoading() {
    startJob(JobKind::load, [this, locations = locations_, folders = projectFolders_](
                                const CancellationToken& cancellation, const MainThreadPost& post) {
        AgentHistoryIndex index = AgentHistoryIndex::build(locations);
        QHash<QString, QList<AgentActivity>> activities;
        for (const QString& folder : folders) {
            cancellation.throwIfCancelled();
            activities.insert(folder, index.activities(folder));
        }
        post([this, index = std::move(index), activities = std::move(activities)] {
            index_ = index;
            activitiesByFolder_ = activities;
            emit historyChanged();
            finishLoading(index_.problems);
        });
    });
}

QList<AgentActivity> AgentsModel::activities(const QString& folder) const {
    return activitiesByFolder_.value(folder);
}

int AgentsModel::sessionCount(const QString& folder) const {
    int count = 0;
    for (const AgentActivity& activity : activitiesByFolder_.value(folder))
        count += static_cast<int>(activity.sessions.size());
    return count;
}

QMap<QString, QList<AgentActivity>> AgentsModel::historyByFolder() const {
    QMap<QString, QList<AgentActivity>> folders;
    const auto activityFor = [&folders](const QString& folder, AgentKind kind) -> AgentActivity& {
        QList<AgentActivity>& activities = folders[folder];
        for (AgentActivity& activity : activities) {
            if (activity.agent == kind)
                return activity;
        }
        activities.append(AgentActivity{kind, {}, {}, {}, {}});
        return activities.last();
    };
    for (const AgentSession& session : index_.sessions)
        activityFor(session.cwd, session.agent).sessions.append(session);
    for (const AgentWorkspace& workspace : index_.workspaces)
        activityFor(workspace.folder, workspace.agent).workspaces.append(workspace);
    for (QList<AgentActivity>& activities : folders) {
        std::sort(activities.begin(), activities.end(),
                  [](const AgentActivity& a, const AgentActivity& b) { return a.agent < b.agent; });
        for (AgentActivity& activity : activities)
            sortMostRecentFirst(activity);
    }
    return folders;
}

} // namespace corvane
