#include "shell/Navigation.h"

#include "platform/Paths.h"

namespace corvane {

Navigation::Navigation(const ScanSession& session, QObject* parent)
    : QObject(parent)
    , session_(session) {
    connect(&session_, &ScanSession::scanStarted, this, &Navigation::scanStarted);
    connect(&session_, &ScanSession::projectsChanged, this, &Navigation::projectsChanged);
    connect(&session_, &ScanSession::isScanningChanged, this, &Navigation::scanningChanged);
}

void Navigation::setSelection(const std::optional<SidebarSelection>& selection) {
    if (selection_ == selection)
        return;
    selection_ = selection;
    emit selectionChanged();
}

void Navigation::setPendingSelectionPath(const std::optional<QString>& path) {
    pendingSelectionPath_ = path ? std::optional(Paths::standardized(*path)) : std::nullopt;
    projectsChanged();
}

void Navigation::scanStarted() {
    const bool onProject = selection_ && selection_->project;
    if (nextSelectionPath_)
        pendingSelectionPath_ = Paths::standardized(*std::exchange(nextSelectionPath_, {}));
    else if (onProject)
        pendingSelectionPath_ = selection_->project->url;
    // The old scan's project is gone with it; the destination waits for the new one.
    if (onProject)
        setSelection(std::nullopt);
}

void Navigation::projectsChanged() {
    const QList<Project>& projects = session_.projects();
    if (pendingSelectionPath_) {
        for (const Project& project : projects) {
            if (project.url == *pendingSelectionPath_) {
                pendingSelectionPath_.reset();
                setSelection(SidebarSelection::forProject(project));
                return;
            }
        }
    }
    // A project that a trash action took away is no longer a place to be.
    if (selection_ && selection_->project && !session_.project(selection_->project->id))
        setSelection(std::nullopt);
}

void Navigation::scanningChanged() {
    if (session_.isScanning())
        return;
    // The last batch may bring the project and the end together; after that, a folder the scan
    // did not find is not waited for any longer.
    projectsChanged();
    pendingSelectionPath_.reset();
}

} // namespace corvane
