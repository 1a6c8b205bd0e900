#pragma once

#include "platform/Cancellation.h"
#include "platform/TrashService.h"
#include "scanning/GlobalCacheCatalog.h"
#include "scanning/ScanModel.h"
#include "scanning/ScanStream.h"

#include <QHash>
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
        organize,
        archived
    };

    static SidebarSelection forProject(const Project& project) { return {Kind::project, project}; }
    static SidebarSelection of(Kind kind) { return {kind, std::nullopt}; }

    Kind kind = Kind::overview;
    // Present exactly for `project`.
    std::optional<Project> project;

    bool operator==(const SidebarSelection&) const = default;
};

enum class ProjectSortMode { size, activity };

// "Size" or "Activity".
QString title(ProjectSortMode mode);

// What one trash action covers.
struct TrashScope {
    enum class Kind { project, caches, everything };

    // The ticked items of `project`.
    static TrashScope forProject(const Project& project) { return {Kind::project, project}; }
    // The ticked caches.
    static TrashScope caches() { return {Kind::caches, std::nullopt}; }
    // Every ticked item of every project and every ticked cache.
    static TrashScope everything() { return {Kind::everything, std::nullopt}; }

    Kind kind = Kind::everything;
    std::optional<Project> project;
};

// One entry of the nested project list. `children` is absent for a project without sub-projects,
// so an outline shows no disclosure triangle for it.
struct ProjectNode {
    Project project;
    std::optional<QList<ProjectNode>> children;

    bool operator==(const ProjectNode&) const = default;
};

// The projects of a tree, depth first: each node followed by its sub-projects.
QList<Project> flattened(const QList<ProjectNode>& nodes);

struct GlobalCacheItem {
    GlobalCacheEntry entry;

    const QString& id() const { return entry.id; }
    bool operator==(const GlobalCacheItem&) const = default;
};

// What a trash action will hand to the trash service: project items inside the scanned folder,
// caches inside the home folder, and the sizes known for them.
struct TrashPlan {
    QList<QString> itemURLs;
    QString itemRoot;
    QList<QString> cacheURLs;
    QString cacheRoot;
    // Measured bytes by URL; a URL without an entry counts 0.
    QHash<QString, qint64> sizeByURL;
    // Paths given by hand whose size the scan does not know; they are measured before they move,
    // so the reclaimed size counts them.
    QList<QString> unmeasuredPaths;

    bool isEmpty() const { return itemURLs.isEmpty() && cacheURLs.isEmpty(); }
    // Measures `unmeasuredPaths` into `sizeByURL`. Blocking; throws CancelledError.
    void measureUnmeasured(const CancellationToken& cancellation = {});
    // The sum of the known sizes of `urls`; unmeasured ones count 0. Overflow aborts.
    qint64 bytesOf(const QList<QString>& urls) const;
    // Items and caches that would go to the Trash, and those the trash service would refuse
    // before asking the platform, without moving anything.
    TrashOutcome preview() const;
};

} // namespace corvane
