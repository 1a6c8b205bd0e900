#include "scanning/RepoGroupInspector.h"

#include "platform/DirectoryReader.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/Classifier.h"
#include "scanning/FolderNames.h"
#include "scanning/GitIgnoreEvaluator.h"
#include "scanning/GitInspector.h"

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

bool isOfferedWhole(const GitDetails& details, const LocalWorkListings& localWork) {
    return details.status.kind() == GitStatus::Case::fullySynced &&
           !GitInspector::hasLocalOnlyWork(localWork);
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
                                           const WalkRules& rules,
                                           QHash<QUuid, QSet<QString>>& candidatesByProject) {
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
    FolderNames names;
    for (const QString& folder : ignoredFolders) {
        if (holdsAnotherCandidate(folder))
            continue;
        const Project* nearest = nullptr;
        for (const Project& project : projects) {
            const bool encloses = folder != project.url && Paths::isUnder(folder, project.url);
            if (encloses && (!nearest || project.url.size() > nearest->url.size()))
                nearest = &project;
        }
        if (nearest && walkEnters(rules, nearest->url, folder, names))
            candidatesByProject[nearest->id].insert(folder);
    }
}

QList<ProjectInspection>
RepoGroupInspector::inspect(const RepoGroup& group,
                            const QHash<QUuid, QSet<QString>>& walkedCandidates,
                            const WalkRules& rules, const CancellationToken& cancellation) {
    QHash<QUuid, QSet<QString>> candidates;
    for (const Project& project : group.projects)
        candidates.insert(project.id, walkedCandidates.value(project.id));
    const RepoFindings found =
        group.repoURL ? askGit(group, candidates, rules, cancellation) : RepoFindings{};

    QList<ProjectInspection> inspections;
    for (const Project& project : group.projects) {
        if (cancellation.isCancelled())
            break;
        QList<CleanableItem> items =
            Classifier::classify(project, sortedCandidates(candidates.value(project.id)),
                                 found.ignored, group.repoURL.has_value());
        if (isOwnProject(group, project) && isOfferedWhole(found.details, found.localWork))
            items.append(CleanableItem(project.id, project.url, project.name,
                                       ArtifactKind::wholeProject, CleanConfidence::reclonable));
        // Whatever git and the catalog say, the user's own folders are never offered.
        items.removeIf([&](const CleanableItem& item) {
            return !rules.protectedFolders().allowsItem(item.url);
        });
        inspections.append(ProjectInspection{project, found.details, items,
                                             found.localWork.stashList,
                                             found.localWork.localBranches});
    }
    return inspections;
}

RepoGroupInspector::RepoFindings RepoGroupInspector::askGit(const RepoGroup& group,
                                                            QHash<QUuid, QSet<QString>>& candidates,
                                                            const WalkRules& rules,
                                                            const CancellationToken& cancellation) {
    const QString& repo = *group.repoURL;
    RepoFindings found;
    found.details = GitInspector::inspect(repo, cancellation);
    const bool mayBeOfferedWhole =
        found.details.status == GitStatus::fullySynced() &&
        std::any_of(group.projects.cbegin(), group.projects.cend(),
                    [&](const Project& project) { return isOwnProject(group, project); });
    if (mayBeOfferedWhole)
        found.localWork = GitInspector::localWork(repo, cancellation);

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
    addIgnoredFolders(group.projects, outsideCatalog, rules, candidates);
    for (const QSet<QString>& set : std::as_const(candidates)) {
        for (const QString& folder : outsideCatalog) {
            if (set.contains(folder))
                found.ignored.insert(folder);
        }
    }
    return found;
}

} // namespace corvane
