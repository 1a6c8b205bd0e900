#pragma once

#include "agents/AgentHistoryIndex.h"
#include "platform/Cancellation.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace corvane {

// Finds the folders of the home folder that could be gathered: repositories (a ".git" entry),
// and folders where a coding agent worked. A folder inside another found folder moves with it
// and is not listed on its own; a found folder that holds repositories of its own is a
// workspace.
struct HomeProjectFinder {
    struct Found {
        QString path;
        bool isWorkspace = false;

        bool operator==(const Found&) const = default;
    };

    QString home;
    // The destination folder: neither it nor anything inside it is listed.
    QString destination;
    bool macPathRules = false;

    // Sorted by path. Never lists the home folder itself, its standard folders, hidden folders
    // or anything inside them, "node_modules", anything under "/tmp/", the destination, or the
    // dated scratch folders of the Codex app (Documents/Codex/YYYY-MM-DD) and what they hold.
    // Throws CancelledError once `cancellation` is cancelled (checked once per folder).
    QList<Found> find(const AgentHistoryIndex& index,
                      const CancellationToken& cancellation = CancellationToken()) const;

    // Whether `path` may never be a candidate by the rules above (the destination included).
    bool isExcluded(const QString& path) const;

    // True for a folder that holds at least one repository below it and is not one itself.
    static bool holdsRepositories(const QString& folder);
};

} // namespace corvane
