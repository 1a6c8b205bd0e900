#pragma once

#include "scanning/ScanModel.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane {

// Turns a project's candidate folders into items the user may send to the Trash, and decides how
// sure each one is.
struct Classifier {
    // `candidates` are absolute folder paths; `ignoredPaths` the ones git ignores; `hasRepo`
    // whether the project lies in a git working tree. Markers (".git", "package.json", bundles
    // such as "App.xcodeproj") never become items. A specific catalog name is `safe`; a generic
    // one ("build") is `safe` only when git ignores it, else `caution`; a folder outside the
    // catalog is offered only when git ignores it, as `ignoredButUnknown`. Items are sorted by
    // name, case-insensitively and in the user's locale; equal names keep candidate order.
    static QList<CleanableItem> classify(const Project& project, const QStringList& candidates,
                                         const QSet<QString>& ignoredPaths, bool hasRepo);
};

} // namespace corvane
