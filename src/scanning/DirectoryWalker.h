#pragma once

#include "platform/Cancellation.h"
#include "scanning/ScanModel.h"
#include "scanning/WalkRules.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>
#include <functional>

namespace corvane {

class DirectoryReader;

// One walk of the folder the user chose: finds project roots by their markers, the git working
// tree and enclosing project of each, and the candidate artifact folders inside projects. Runs
// synchronously on the calling thread and is used once. Symbolic links are never followed and
// artifact folders are never entered, so a walk costs in proportion to the source folders. What
// is entered is decided by `WalkRules`. The home folder is never a project, and the walk starts
// afresh there: nothing in it belongs to a project or working tree above it.
class DirectoryWalker {
public:
    struct WalkResult {
        // In discovery order: a project always comes before the projects nested in it.
        QList<Project> projects;
        // Every project has an entry, empty when no candidate was found in it.
        QHash<QUuid, QSet<QString>> candidatesByProject;
    };

    // Receives `progress` and `projectDiscovered` events on the walking thread, as they happen;
    // it must hand them on quickly.
    using EventHandler = std::function<void(const ScanEvent&)>;

    // Folders this many levels below the root are still visited; deeper ones never are.
    static constexpr int maxDepth = WalkRules::maxDepth;
    // `progress` goes out for the 1st, 33rd, 65th ... visited folder.
    static constexpr int progressInterval = 32;

    // Called when the walk leaves a project's folder, with the project's candidate folders,
    // which are then complete: the walk is depth first.
    using ProjectFinishedHandler = std::function<void(const Project&, const QSet<QString>&)>;

    DirectoryWalker(QString root, ScanOptions options, EventHandler onEvent);
    void setOnProjectFinished(ProjectFinishedHandler handler) {
        onProjectFinished_ = std::move(handler);
    }

    // Walks the tree. Folders that cannot be read (no permission, vanished) contribute nothing;
    // only cancellation, checked once per folder, ends the walk early, with CancelledError.
    WalkResult walk(const CancellationToken& cancellation = {});

    int visitedDirCount() const { return visitedDirCount_; }

private:
    struct Folder;

    void visit(DirectoryReader& reader, const Folder& folder);

    QString root_;
    WalkRules rules_;
    EventHandler onEvent_;
    ProjectFinishedHandler onProjectFinished_;
    const CancellationToken* cancellation_ = nullptr;
    WalkResult result_;
    int visitedDirCount_ = 0;
};

} // namespace corvane
