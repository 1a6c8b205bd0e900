#include "scanning/RepoGroupInspector.h"

#include "platform/Paths.h"
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

bool isOfferedWhole(const GitDetails& details, const std::optional<QString>& stashList,
                    const std::optional<QString>& localBranches) {
    return details.status.kind() == GitStatus::Case::fullySynced &&
           !GitInspector::hasLocalOnlyWork(stashList, localBranches);
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

    GitDetails details;
    std::optional<QString> stashList;
    std::optional<QString> localBranches;
    QSet<QString> ignored;
    if (group.repoURL) {
        const QString& repo = *group.repoURL;
        details = GitInspector::inspect(repo, cancellation);
        stashList = GitInspector::stashList(repo, cancellation);
        localBranches = GitInspector::localBranches(repo, cancellation);
        addIgnoredFolders(group.projects,
                          GitIgnoreEvaluator::ignoredDirectoriesOutsideCatalog(repo, cancellation),
                          candidates);
        QStringList all;
        for (const QSet<QString>& set : std::as_const(candidates))
            all.append(sortedCandidates(set));
        ignored = GitIgnoreEvaluator::ignoredPaths(repo, all, cancellation);
    }

    QList<ProjectInspection> inspections;
    for (const Project& project : group.projects) {
        if (cancellation.isCancelled())
            break;
        QList<CleanableItem> items =
            Classifier::classify(project, sortedCandidates(candidates.value(project.id)), ignored,
                                 group.repoURL.has_value());
        const bool isRepoRoot = group.repoURL && Paths::standardized(project.url) ==
                                                     Paths::standardized(*group.repoURL);
        if (isRepoRoot && isOfferedWhole(details, stashList, localBranches))
            items.append(CleanableItem(project.id, project.url, project.name,
                                       ArtifactKind::wholeProject, CleanConfidence::reclonable));
        inspections.append(ProjectInspection{project, details, items, stashList, localBranches});
    }
    return inspections;
}

} // namespace corvane
