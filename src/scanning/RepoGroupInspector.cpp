#include "scanning/RepoGroupInspector.h"

#include "platform/DirectoryReader.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/Classifier.h"
#include "scanning/FolderNames.h"
#include "scanning/GitIgnoreEvaluator.h"
#include "scanning/GitInspector.h"
#include "scanning/RestoreHints.h"

#include <QFileInfo>

namespace corvane {
namespace {

QStringList sortedCandidates(const QSet<QString>& candidates) {
    QStringList list(candidates.cbegin(), candidates.cend());
    list.sort();
    return list;
}

// The repository's own project: the one whose folder is the working tree's root.
bool isOwnProject(const RepoGroup& group, const Project& project) {
    return group.repoURL && Paths::standardized(project.url) == Paths::standardized(*group.repoURL);
}

// Whether the walk, going down from the project's folder, would have entered every folder on the
// way to `folder` and `folder` itself. Costs a canonical path only when skipped paths are in
// use, and a listing of a parent folder only for a catalog name there, whose sibling condition
// then decides; other names decide alone.
bool walkEnters(const WalkRules& rules, const QString& project, const QString& folder,
                FolderNames& names) {
    QString canonical;
    if (rules.needsCanonicalPaths()) {
        const std::optional<QString> resolved = DirectoryReader::canonicalPath(folder);
        if (!resolved)
            return false;
        canonical = *resolved;
    }
    static const QSet<QString> noNames;
    for (QString current = folder; current.size() > project.size();
         current = Paths::parentPath(current)) {
        if (rules.protectedFolders().isHome(current))
            return false;
        const QString name = Paths::lastComponent(current);
        const QSet<QString>& siblings = ArtifactCatalog::isKnownArtifactName(name)
                                            ? names.in(Paths::parentPath(current))
                                            : noNames;
        const int depth = rules.depthOf(current);
        if (depth < 0 || rules.step({name, current, canonical, depth, true, siblings}) !=
                             WalkRules::Step::descend)
            return false;
        if (!canonical.isEmpty())
            canonical = Paths::parentPath(canonical);
    }
    return true;
}

} // namespace

void RepoGroupInspector::addIgnoredFolders(const QList<Project>& projects,
                                           const QStringList& ignoredFolders,
                                           const Surroundings& surroundings,
                                           QHash<QUuid, QSet<QString>>& candidatesByProject) {
    const QList<Project>& others = surroundings.projectsOfOtherTrees;
    auto holdsAnotherCandidate = [&](const QString& folder) {
        for (const Project& project : projects) {
            if (Paths::isUnder(project.url, folder))
                return true;
            const QSet<QString>& candidates = candidatesByProject.value(project.id);
            if (std::any_of(candidates.cbegin(), candidates.cend(), [&](const QString& candidate) {
                    return Paths::isUnder(candidate, folder);
                }))
                return true;
        }
        return false;
    };
    // Another working tree in the folder would go with it; one the walk did not reach still
    // shows by its ".git" entry.
    auto holdsAnotherTree = [&](const QString& folder) {
        return std::any_of(
                   others.cbegin(), others.cend(),
                   [&](const Project& other) { return Paths::isUnder(other.url, folder); }) ||
               QFileInfo::exists(Paths::joined(folder, QStringLiteral(".git")));
    };
    auto nearestEnclosing = [&](const QList<Project>& candidates, const QString& folder,
                                const Project* nearest) {
        for (const Project& project : candidates) {
            const bool encloses = folder != project.url && Paths::isUnder(folder, project.url);
            if (encloses && (!nearest || project.url.size() > nearest->url.size()))
                nearest = &project;
        }
        return nearest;
    };
    FolderNames names;
    for (const QString& folder : ignoredFolders) {
        if (holdsAnotherCandidate(folder) || holdsAnotherTree(folder))
            continue;
        const Project* nearest = nearestEnclosing(projects, folder, nullptr);
        // A folder inside a project of another tree is that project's business.
        if (!nearest || nearestEnclosing(others, folder, nearest) != nearest)
            continue;
        if (walkEnters(surroundings.rules, nearest->url, folder, names))
            candidatesByProject[nearest->id].insert(folder);
    }
}

bool RepoGroupInspector::otherTreesAreOnRemotes(const QString& repo, const QList<Project>& others,
                                                const CancellationToken& cancellation) {
    QStringList trees;
    for (const Project& other : others) {
        if (!other.gitRepoURL)
            return false;
        if (!trees.contains(*other.gitRepoURL))
            trees.append(*other.gitRepoURL);
    }
    // A submodule is recorded by the tree just above it, which for a nested submodule is another
    // submodule; each such tree is asked once about all the trees it holds directly.
    QHash<QString, QStringList> treesByHolder;
    for (const QString& tree : std::as_const(trees)) {
        QString holder = repo;
        for (const QString& other : std::as_const(trees)) {
            if (other != tree && Paths::isUnder(tree, other) && other.size() > holder.size())
                holder = other;
        }
        treesByHolder[holder].append(tree);
    }
    for (auto it = treesByHolder.cbegin(); it != treesByHolder.cend(); ++it) {
        const QSet<QString> submodules =
            GitInspector::submodulesAmong(it.key(), it.value(), cancellation);
        if (std::any_of(it.value().cbegin(), it.value().cend(),
                        [&](const QString& tree) { return !submodules.contains(tree); }))
            return false;
    }
    return std::all_of(trees.cbegin(), trees.cend(), [&](const QString& tree) {
        return !cancellation.isCancelled() && GitInspector::submoduleIsOnRemote(tree, cancellation);
    });
}

QList<ProjectInspection> RepoGroupInspector::inspect(
    const RepoGroup& group, const QHash<QUuid, QSet<QString>>& walkedCandidates,
    const Surroundings& surroundings, const CancellationToken& cancellation) {
    QHash<QUuid, QSet<QString>> candidates;
    for (const Project& project : group.projects)
        candidates.insert(project.id, walkedCandidates.value(project.id));
    const RepoFindings found =
        group.repoURL ? askGit(group, candidates, surroundings, cancellation) : RepoFindings{};

    QList<ProjectInspection> inspections;
    FolderNames listings;
    for (const Project& project : group.projects) {
        if (cancellation.isCancelled())
            break;
        QList<CleanableItem> items =
            Classifier::classify(project, sortedCandidates(candidates.value(project.id)),
                                 found.ignored, group.repoURL.has_value());
        if (isOwnProject(group, project) && found.offeredWhole)
            items.append(CleanableItem(project.id, project.url, project.name,
                                       ArtifactKind::wholeProject, CleanConfidence::reclonable));
        // Whatever git and the catalog say, the user's own folders are never offered.
        items.removeIf([&](const CleanableItem& item) {
            return !surroundings.rules.protectedFolders().allowsItem(item.url);
        });
        for (CleanableItem& item : items)
            item.restoreHint = RestoreHints::hintFor(item, RestoreHints::topFolder(project),
                                                     found.details.remoteURL, listings);
        inspections.append(ProjectInspection{project, found.details, items,
                                             found.localWork.stashList,
                                             found.localWork.localBranches});
    }
    return inspections;
}

RepoGroupInspector::RepoFindings RepoGroupInspector::askGit(const RepoGroup& group,
                                                            QHash<QUuid, QSet<QString>>& candidates,
                                                            const Surroundings& surroundings,
                                                            const CancellationToken& cancellation) {
    const QString& repo = *group.repoURL;
    RepoFindings found;
    found.details = GitInspector::inspect(repo, cancellation);
    const bool mayBeOfferedWhole =
        found.details.status == GitStatus::fullySynced() &&
        std::any_of(group.projects.cbegin(), group.projects.cend(),
                    [&](const Project& project) { return isOwnProject(group, project); });
    // Each question costs git runs, so each is asked only while the answers so far still allow
    // the whole project to be offered.
    if (mayBeOfferedWhole) {
        found.localWork = GitInspector::localWork(repo, cancellation);
        found.offeredWhole =
            !GitInspector::hasLocalOnlyWork(found.localWork) &&
            !GitInspector::hasLinkedWorktrees(repo) &&
            otherTreesAreOnRemotes(repo, surroundings.projectsOfOtherTrees, cancellation);
    }

    // Git lists these because it ignores them; a well-known name is trusted whatever git says.
    // So only generic names are asked about, which spares most repositories a git run.
    const QStringList outsideCatalog =
        GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(repo, cancellation);
    QStringList generic;
    for (const QSet<QString>& set : std::as_const(candidates)) {
        for (const QString& candidate : sortedCandidates(set)) {
            if (ArtifactCatalog::tierOf(Paths::lastComponent(candidate)) != CatalogTier::high)
                generic.append(candidate);
        }
    }
    found.ignored = GitIgnoreEvaluator::ignoredPaths(repo, generic, cancellation);
    addIgnoredFolders(group.projects, outsideCatalog, surroundings, candidates);
    for (const QSet<QString>& set : std::as_const(candidates)) {
        for (const QString& folder : outsideCatalog) {
            if (set.contains(folder))
                found.ignored.insert(folder);
        }
    }
    return found;
}

} // namespace corvane
