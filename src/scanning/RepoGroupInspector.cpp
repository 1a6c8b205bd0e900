#include "scanning/RepoGroupInspector.h"

#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"
#include "scanning/Classifier.h"
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

} // namespace

void RepoGroupInspector::addIgnoredFolders(const QList<Project>& projects,
                                           const QStringList& ignoredFolders,
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
    for (const QString& folder : ignoredFolders) {
        if (holdsAnotherCandidate(folder))
            continue;
        const Project* nearest = nullptr;
        for (const Project& project : projects) {
            const bool encloses = folder != project.url && Paths::isUnder(folder, project.url);
            if (encloses && (!nearest || project.url.size() > nearest->url.size()))
                nearest = &project;
        }
        if (nearest)
            candidatesByProject[nearest->id].insert(folder);
    }
}

QList<ProjectInspection>
RepoGroupInspector::inspect(const RepoGroup& group,
                            const QHash<QUuid, QSet<QString>>& walkedCandidates,
                            const CancellationToken& cancellation) {
    QHash<QUuid, QSet<QString>> candidates;
    for (const Project& project : group.projects)
        candidates.insert(project.id, walkedCandidates.value(project.id));
    const RepoFindings found =
        group.repoURL ? askGit(group, candidates, cancellation) : RepoFindings{};

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
        inspections.append(ProjectInspection{project, found.details, items,
                                             found.localWork.stashList,
                                             found.localWork.localBranches});
    }
    return inspections;
}

RepoGroupInspector::RepoFindings RepoGroupInspector::askGit(const RepoGroup& group,
                                                            QHash<QUuid, QSet<QString>>& candidates,
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
    addIgnoredFolders(group.projects, outsideCatalog, candidates);
    for (const QSet<QString>& set : std::as_const(candidates)) {
        for (const QString& folder : outsideCatalog) {
            if (set.contains(folder))
                found.ignored.insert(folder);
        }
    }
    return found;
}

} // namespace corvane
