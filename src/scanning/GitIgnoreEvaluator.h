#pragma once

#include "platform/Cancellation.h"

#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane {

// Asks git which folders a repository's ignore rules cover.
struct GitIgnoreEvaluator {
    // The candidates (absolute paths inside `repo`) that git ignores, as given. No candidates: git
    // is not run. Git failing or missing: the empty set, so nothing is trusted because of it.
    static QSet<QString> ignoredPaths(const QString& repo, const QStringList& candidates,
                                      const CancellationToken& cancellation = {});

    // Absolute paths of the directories git lists as ignored (untracked and covered by the ignore
    // rules, or holding only such content) that neither are nor lie inside a catalog folder, and
    // that lie inside no other listed directory. A catalog name whose sibling condition fails
    // there ("Pods" without "Podfile") is no catalog folder. Ignored plain files are left out: an
    // item is a folder. Git failing: empty.
    static QStringList ignoredDirectoriesOutsideCatalog(const QString& repo,
                                                        const CancellationToken& cancellation = {});
};

} // namespace corvane
