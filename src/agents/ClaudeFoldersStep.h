#pragma once

#include "agents/RelinkStep.h"

#include <QSet>

namespace corvane {

// Brings Claude Code's per-project history folders to the names of their new paths: a rename
// when the new name is free, else a merge that moves the items across one by one and keeps both
// copies of any name present in both. A folder that several projects share (the name encoding is
// lossy) gives up only the moved project's sessions and their companion folders. The session
// files themselves are not edited; the ledger records the real path of every folder renamed and
// of every session moved on its own.
struct ClaudeFoldersStep {
    // Every history folder whose project is under the old path. Folders named in `untouchable`
    // are left alone.
    static void run(const RelinkContext& context, const QSet<QString>& untouchable = {});

    // Takes back `moves`, recorded by an earlier relink from the context's new path to its old
    // one: renamed folders get their old names again, merged ones give back exactly the items
    // they received (into their old folder, made again when it is gone). Returns the names of
    // the merge targets: they held history of their own before and must not move as a whole.
    static QSet<QString> reverse(const RelinkContext& context,
                                 const QList<ClaudeFolderMove>& moves);
};

} // namespace corvane
