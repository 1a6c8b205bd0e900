#pragma once

#include "platform/Cancellation.h"
#include "scanning/GitInspector.h"
#include "scanning/ScanModel.h"
#include "scanning/WalkRules.h"

#include <QHash>
#include <QList>
#include <QSet>

namespace corvane {

// Inspects the projects of one working tree (or one project outside git): one git inspection for
// the whole group, one question to git about ignored folders, then the classification of each
// project's candidates. The repository's own project is offered whole only when nothing in it
// exists only on this machine. Every item of a scan comes from here, and none is one of the
// user's protected folders (`WalkRules::protectedFolders`).
struct RepoGroupInspector {
    // `rules` are the scan's walk rules, which the folders git lists as ignored must obey too.
    static QList<ProjectInspection> inspect(const RepoGroup& group,
                                            const QHash<QUuid, QSet<QString>>& candidatesByProject,
                                            const WalkRules& rules,
                                            const CancellationToken& cancellation);

private:
    // Adds each ignored folder that no catalog name covers to the candidates of the nearest
    // project of the group that encloses it (the deepest project whose folder holds it). Left
    // out: a folder that holds a project or another candidate, so nothing is offered twice, and
    // a folder the walk would not have entered.
    static void addIgnoredFolders(const QList<Project>& projects, const QStringList& ignoredFolders,
                                  const WalkRules& rules,
                                  QHash<QUuid, QSet<QString>>& candidatesByProject);

    // What git says about one working tree. The stash and branch listings are read only when
    // the repository may be offered whole, which is all they decide (absent otherwise).
    struct RepoFindings {
        GitDetails details;
        LocalWorkListings localWork;
        QSet<QString> ignored;
    };

    // Asks git about the group's working tree; adds the ignored folders no catalog name covers
    // to `candidates`.
    static RepoFindings askGit(const RepoGroup& group, QHash<QUuid, QSet<QString>>& candidates,
                               const WalkRules& rules, const CancellationToken& cancellation);
};

} // namespace corvane
