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
    // What the scan knows beyond the group itself.
    struct Surroundings {
        // The scan's walk rules, which the folders git lists as ignored must obey too.
        const WalkRules& rules;
        // The projects below the group's working-tree root that lie in another working tree (a
        // nested clone, a submodule) or in none (below the home folder). The walker found them,
        // and they belong to other groups.
        QList<Project> projectsOfOtherTrees;
    };

    static QList<ProjectInspection> inspect(const RepoGroup& group,
                                            const QHash<QUuid, QSet<QString>>& candidatesByProject,
                                            const Surroundings& surroundings,
                                            const CancellationToken& cancellation);

private:
    // Adds each ignored folder that no catalog name covers to the candidates of the nearest
    // project of the group that encloses it (the deepest project whose folder holds it). Left
    // out: a folder that holds a project or another candidate, so nothing is offered twice; a
    // folder that holds another working tree, which would go with it; and a folder the walk
    // would not have entered.
    static void addIgnoredFolders(const QList<Project>& projects, const QStringList& ignoredFolders,
                                  const Surroundings& surroundings,
                                  QHash<QUuid, QSet<QString>>& candidatesByProject);

    // What git says about one working tree. The stash and branch listings are read only when
    // the repository may be offered whole, which is all they decide (absent otherwise).
    struct RepoFindings {
        GitDetails details;
        LocalWorkListings localWork;
        QSet<QString> ignored;
        bool offeredWhole = false;
    };

    // Asks git about the group's working tree; adds the ignored folders no catalog name covers
    // to `candidates`.
    static RepoFindings askGit(const RepoGroup& group, QHash<QUuid, QSet<QString>>& candidates,
                               const Surroundings& surroundings,
                               const CancellationToken& cancellation);

    // Whether the working trees of `others` (all inside `repo`) leave nothing behind when `repo`
    // goes: each must be a submodule that `repo`, or the tree just above it, records, and hold
    // nothing its own remote lacks. A project in no working tree, or in any other kind of tree
    // (a clone kept in an ignored folder), says no at once, before git is asked anything.
    static bool otherTreesAreOnRemotes(const QString& repo, const QList<Project>& others,
                                       const CancellationToken& cancellation);
};

} // namespace corvane
