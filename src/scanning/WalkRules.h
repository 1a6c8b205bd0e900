#pragma once

#include "scanning/ProtectedFolders.h"
#include "scanning/ScanModel.h"

#include <QSet>
#include <QString>

namespace corvane {

// Which folders a scan looks into. The walker asks for every subfolder it lists; folders that git
// reports as ignored are held to the same answer at every level below their project, so that
// nothing the walk would never enter (the user's Library, a Trash, a skipped path, a folder too
// deep) becomes an item because git happens to name it.
class WalkRules {
public:
    // What the walk does with one subfolder.
    enum class Step {
        passOver,  // neither recorded nor entered
        candidate, // recorded for its project as an artifact folder, not entered
        descend,   // entered
    };

    struct Subfolder {
        const QString& name;
        const QString& path;
        // Its path with links resolved; read only when `needsCanonicalPaths()`.
        const QString& canonicalPath;
        // Levels below the scan root (a child of the root is at 1).
        int depth;
        bool insideProject;
        // The entry names of the folder that holds it, for the catalog's sibling conditions.
        const QSet<QString>& siblings;
    };

    // Folders this many levels below the root are still entered; deeper ones never are.
    static constexpr int maxDepth = 12;

    WalkRules(const QString& root, ScanOptions options);

    Step step(const Subfolder& subfolder) const;

    // The scan root, standardized.
    const QString& root() const { return root_; }
    // True when skipped paths are in use, which are compared in their canonical form.
    bool needsCanonicalPaths() const { return !skippedPaths_.isEmpty(); }
    // Levels of `path` below the root; -1 when it does not lie under it.
    int depthOf(const QString& path) const;
    // The user's folders that are never items. The home folder among them is also where the
    // walk starts afresh: it is never a project, and a repository there or above it is no
    // working tree for what lies in it.
    const ProtectedFolders& protectedFolders() const { return protectedFolders_; }

    // The Trash of any volume: ".Trash" (in the home, and "<volume>/.Trash/<uid>" on Linux),
    // ".Trash-<uid>" that Linux desktops make on other volumes, and ".Trashes" on macOS volumes.
    static bool isTrashFolder(const QString& name);

private:
    bool isPassedOverOutsideProjects(const Subfolder& subfolder) const;

    QString root_;
    ScanOptions options_;
    // `options_.skippedPaths` plus the canonical form of each, so either spelling matches.
    QSet<QString> skippedPaths_;
    ProtectedFolders protectedFolders_;
};

} // namespace corvane
