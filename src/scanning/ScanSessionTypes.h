#pragma once

#include "scanning/ScanModel.h"
#include "scanning/ScanStream.h"

#include <QList>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace corvane {

// Starts a scan of `root` and hands back its event stream: ScanEngine::scan in the application
// and the command line, a stream fed through its sink in tests.
using ScanStarter =
    std::function<std::unique_ptr<ScanStream>(const QString& root, const ScanOptions& options)>;

// Why a chosen folder is not scanned; the views show it as an alert.
struct ScanRefusal {
    QString title;
    QString text;

    bool operator==(const ScanRefusal&) const = default;
};

// The refusal for scanning `folder` (the disk's root, or the Desktop, Documents or Library of
// `homeFolder` themselves), or nothing when it may be scanned. Subfolders are accepted.
std::optional<ScanRefusal> scanRefusal(const QString& folder, const QString& homeFolder);

// The walk settings for a scan of `root`. A scan of the home folder (or a folder that holds it)
// enters no hidden folder or bundle outside projects: those hold tool installations (~/.pyenv,
// ~/.rustup) and application data, never the user's own projects.
ScanOptions scanOptionsFor(const QString& root, const QString& homeFolder);

enum class ProjectSortMode { size, activity };

// What one trash action of the scan covers.
struct TrashScope {
    enum class Kind { project, everything };

    // The ticked items of `project`.
    static TrashScope forProject(const Project& project) { return {Kind::project, project}; }
    // Every ticked item of every project.
    static TrashScope everything() { return {Kind::everything, std::nullopt}; }

    Kind kind = Kind::everything;
    std::optional<Project> project;
};

// One entry of the nested project list. `children` is absent for a project without sub-projects,
// so an outline shows no disclosure triangle for it.
struct ProjectNode {
    Project project;
    std::optional<QList<ProjectNode>> children;
    // What the project and every project nested in it can give back together: a folder that
    // holds a large project reads as large, as it does on disk.
    qint64 branchBytes = 0;

    bool operator==(const ProjectNode&) const = default;
};

// The projects of a tree, depth first: each node followed by its sub-projects.
QList<Project> flattened(const QList<ProjectNode>& nodes);

} // namespace corvane
