#pragma once

#include "scanning/ScanSession.h"

#include <QObject>
#include <optional>

namespace corvane {

// The destinations of the main window's sidebar.
struct SidebarSelection {
    enum class Kind {
        project,
        overview,
        globalCaches,
        simulators,
        docker,
        aiModels,
        android,
        apps,
        agents,
        organize,
        archived,
        diskMap
    };

    static SidebarSelection forProject(const Project& project) { return {Kind::project, project}; }
    static SidebarSelection of(Kind kind) { return {kind, std::nullopt}; }

    Kind kind = Kind::overview;
    // Present exactly for `project`.
    std::optional<Project> project;

    bool operator==(const SidebarSelection&) const = default;
};

// Where the main window is: the sidebar's destination, a project of the scan or an area. Project
// identities do not survive a scan but paths do, so a project selected when a scan starts is
// selected again, by its folder, as soon as the new scan finds it.
class Navigation : public QObject {
    Q_OBJECT

public:
    explicit Navigation(const ScanSession& session, QObject* parent = nullptr);

    const std::optional<SidebarSelection>& selection() const { return selection_; }
    // The folder of a project to select as soon as the running scan finds it.
    const std::optional<QString>& pendingSelectionPath() const { return pendingSelectionPath_; }
    // The folder to select after the next scan starts, before whatever is selected then.
    const std::optional<QString>& nextSelectionPath() const { return nextSelectionPath_; }

    void setSelection(const std::optional<SidebarSelection>& selection);
    void setPendingSelectionPath(const std::optional<QString>& path);
    void setNextSelectionPath(const std::optional<QString>& path) { nextSelectionPath_ = path; }

signals:
    void selectionChanged();

private:
    void scanStarted();
    void projectsChanged();
    void scanningChanged();

    const ScanSession& session_;
    std::optional<SidebarSelection> selection_;
    std::optional<QString> pendingSelectionPath_;
    std::optional<QString> nextSelectionPath_;
};

} // namespace corvane
