#pragma once

#include "scanning/FolderNames.h"
#include "scanning/ScanModel.h"

#include <QString>
#include <optional>

namespace corvane {

// What brings each item of a scan back once it has gone to the Trash, read from the files around
// it. Installed packages come back exactly only from a lock file ("npm ci" from
// package-lock.json); without one the hint says so and the item is never ticked by default.
// Build output comes back from a build and needs no lock file; caches are rebuilt by their tools.
struct RestoreHints {
    static inline const QString rebuiltOnDemand = QStringLiteral("rebuilt on demand");
    static inline const QString noLockFile =
        QStringLiteral("no lock file: a reinstall may pick newer versions");
    static inline const QString rebuiltByABuild = QStringLiteral("rebuilt by the next build");
    static inline const QString unknownOrigin = QStringLiteral("unknown: check what recreates it");

    // The hint for `item`. Lock files and build files are looked for beside the item, then in
    // each folder above it up to `topFolder` (the working tree's root, or the project folder
    // outside git): a workspace keeps one lock file at its root for all its packages. The nearest
    // folder decides. `remoteURL` is what a whole project is cloned again from.
    static RestoreHint hintFor(const CleanableItem& item, const QString& topFolder,
                               const std::optional<QString>& remoteURL, FolderNames& listings);

    // The folder up to which hints of `project`'s items look for lock files.
    static QString topFolder(const Project& project);
};

} // namespace corvane
