#pragma once

#include "scanning/ScanSessionTypes.h"

#include <QHash>
#include <QList>
#include <QUuid>
#include <functional>

namespace corvane {

// A project counts as unsynced unless git shows it committed and pushed; a project without git
// details is unsynced too, since nothing vouches for it.
bool isUnsynced(const GitDetails* details);

// Builds the nested project list: a project whose parent is listed sits among that parent's
// children, the others are top-level. Every level is sorted by `mode` (stable, so equal keys
// keep discovery order). With `onlyUnsynced`, a project stays when it is unsynced or has an
// unsynced descendant, so the tree above every kept project stays whole.
struct ProjectTree {
    const QList<Project>& projects;
    const QHash<QUuid, GitDetails>& gitDetails;
    std::function<qint64(const QUuid&)> reclaimableBytes;

    QList<ProjectNode> build(ProjectSortMode mode, bool onlyUnsynced) const;
    // What each project and the projects nested in it can give back together, whatever the
    // filter. Sorting by size goes by these, so a small project holding a large one ranks high.
    QHash<QUuid, qint64> branchBytes() const;
};

} // namespace corvane
