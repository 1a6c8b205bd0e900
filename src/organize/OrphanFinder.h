#pragma once

#include "agents/AgentHistoryIndex.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// Agent history whose folder is gone (moved or renamed by hand), so that the user can relink it
// to where the project lives now.
struct OrphanedHistory {
    // The normalised working folder that no longer exists.
    QString missingPath;
    // Most recent first.
    QList<AgentSession> sessions;
    // Where the project probably lives now.
    std::optional<QString> suggestion;

    bool operator==(const OrphanedHistory&) const = default;
};

namespace OrphanFinder {

// The sessions of `index` grouped by folder, the groups whose folder no longer exists, newest
// first (undated sessions count as the distant past). A suggestion is a folder among
// `projectFolders` (or below one) that carries the missing folder's name, or the name of one of
// its parents with the rest of the path below it, and that lies in a repository (walking up from
// it reaches a folder with a ".git" entry). Two equally good places give no suggestion.
QList<OrphanedHistory> find(const AgentHistoryIndex& index, const QStringList& projectFolders);

// Where each missing folder of `index` probably lives now (missing -> new place), looking among
// `projectFolders` and among the folders the agents themselves worked in that still exist.
QHash<QString, QString> newPlaces(const AgentHistoryIndex& index,
                                  const QStringList& projectFolders = {});

// The nearest folder at or above `path` that holds a ".git" entry.
std::optional<QString> repositoryRoot(const QString& path);

} // namespace OrphanFinder
} // namespace corvane
