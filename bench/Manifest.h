#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane::bench {

// What make-workspace says a scanner should find in the workspace it built. Paths are absolute.
struct Manifest {
    QString workspace;
    // Every project: the top-level ones and those nested in them.
    QStringList projects;
    // Projects with no marker file: nothing tells a scanner they are projects.
    QStringList unmarkedProjects;
    // Folders the size phase measures: each project's artifact folders.
    QStringList artifacts;
    // Output folders that some repositories commit; the walker reports them as candidates too
    // (the classifier decides later what they are).
    QStringList committedArtifacts;
    // Allocated bytes of each artifact folder: regular files, every hard link counted.
    QHash<QString, qint64> artifactBytes;
    // The odd cases, by their manifest key ("repository_inside_repository", ...).
    QHash<QString, QString> oddCases;

    // Reads `path`; nothing (with `error` set) when it is missing or not a manifest. A non-empty
    // `workspace` replaces the folder the manifest names (a workspace that was moved).
    static std::optional<Manifest> read(const QString& path, const QString& workspace,
                                        QString& error);
};

} // namespace corvane::bench
