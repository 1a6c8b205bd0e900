#pragma once

#include "agents/AgentHistoryIndex.h"
#include "agents/AgentLocations.h"
#include "platform/InventoryModel.h"

#include <QHash>
#include <QMap>
#include <QStringList>

namespace corvane {

// The coding-agent history the app shows: the latest index of every agent's sessions and editor
// workspaces, and what each project of the scan has of it. The index is built off the main
// thread on every load (agents keep writing their files, so nothing is cached between loads);
// nothing here is ticked or removed.
class AgentsModel : public InventoryModel {
    Q_OBJECT

public:
    explicit AgentsModel(ToastCenter& toasts, QObject* parent = nullptr,
                         AgentLocations locations = AgentLocations());

    // The project folders whose activity is gathered at each load (the projects of the scan).
    void setProjectFolders(const QStringList& folders);
    const QStringList& projectFolders() const { return projectFolders_; }

    // The index of the last load.
    const AgentHistoryIndex& index() const { return index_; }
    // What each agent did for the project at `folder` as of the last load, in agent order, most
    // recent first within each; empty for a folder that was not among the project folders then.
    QList<AgentActivity> activities(const QString& folder) const;
    // How many agent sessions belong to the project at `folder` (those of its enclosing folder
    // included).
    int sessionCount(const QString& folder) const;
    // Every folder with history, each with exactly the sessions and workspaces opened there.
    QMap<QString, QList<AgentActivity>> historyByFolder() const;

signals:
    // A load has brought a new index and new activities.
    void historyChanged();

protected:
    void startLoading() override;
    bool containsItem(const QString&) const override { return false; }

private:
    AgentLocations locations_;
    QStringList projectFolders_;
    AgentHistoryIndex index_;
    QHash<QString, QList<AgentActivity>> activitiesByFolder_;
};

} // namespace corvane
