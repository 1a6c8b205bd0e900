#include "scanning/ScanRun.h"

#include "platform/Paths.h"
#include "platform/SizeCalculator.h"
#include "scanning/DirectoryWalker.h"
#include "scanning/RepoGroupInspector.h"

#include <QFileInfo>

namespace corvane {
namespace {

QString groupKey(const Project& project) {
    return project.gitRepoURL
               ? *project.gitRepoURL
               : QStringLiteral("no-repo:") + project.id.toString(QUuid::WithoutBraces);
}

// Whose links an item shares, for the words the user reads: a node_modules that pnpm laid out
// keeps its packages in ".pnpm", every file a link into pnpm's store. Looked at only when the
// item shares something, so it costs one stat per such item.
SharedWith sharedWith(const CleanableItem& item, const SpaceUse& space) {
    if (space.freesBytes >= space.sizeBytes || item.name != QStringLiteral("node_modules"))
        return SharedWith::otherFolders;
    return QFileInfo(item.url + QStringLiteral("/.pnpm")).isDir() ? SharedWith::pnpmStore
                                                                  : SharedWith::otherFolders;
}

} // namespace

// A whole project measures its folder without the item folders inside it, then adds their
// measurements as they come in, so that no artifact folder is read twice. Links are counted
// across all the parts: the whole folder frees a file whose links all lie somewhere inside it.
class WholeProjectTally {
public:
    WholeProjectTally(std::shared_ptr<ScanEventSink> sink, QUuid itemID, int parts)
        : sink_(std::move(sink))
        , itemID_(itemID)
        , remaining_(parts) {}

    void add(const SpaceUse& space) {
        std::lock_guard guard(lock_);
        parts_.append(space);
        if (--remaining_ == 0) {
            sink_->send(ScanEvent::sizeUpdated(itemID_, freedTogether(parts_)));
            parts_.clear();
        }
    }

private:
    std::shared_ptr<ScanEventSink> sink_;
    QUuid itemID_;
    std::mutex lock_;
    int remaining_;
    QList<SpaceUse> parts_;
};

ScanRun::ScanRun(std::shared_ptr<ScanEventSink> sink, QString root, ScanOptions options)
    : sink_(std::move(sink))
    , root_(std::move(root))
    , options_(std::move(options))
    , rules_(root_, options_)
    , measurements_(WorkQueue::defaultWidth())
    , inspections_(WorkQueue::defaultWidth()) {}

ScanRun::~ScanRun() = default;

void ScanRun::run() {
    const CancellationToken& cancellation = sink_->cancellation();
    DirectoryWalker walker(root_, options_, [this](const ScanEvent& event) {
        if (event.kind == ScanEvent::Kind::projectDiscovered)
            projectDiscovered(event.project);
        sink_->send(event);
    });
    walker.setOnProjectFinished([this](const Project& project, const QSet<QString>& candidates) {
        projectFinished(project, candidates);
    });
    try {
        walker.walk(cancellation);
        // Trees whose root lies above the scanned folder finish only with the walk.
        for (const QString& key : std::as_const(groupOrder_)) {
            if (!dispatchedGroups_.contains(key))
                dispatch(groups_.value(key));
        }
    } catch (const CancelledError&) {
        // Queued work sees the same token and ends early.
    }
    // Inspections queue measurements, so they finish first; nothing may follow scanCompleted.
    inspections_.waitUntilIdle();
    measurements_.waitUntilIdle();
    sink_->send(ScanEvent::scanCompleted());
}

void ScanRun::projectDiscovered(const Project& project) {
    const QString key = groupKey(project);
    auto found = groups_.find(key);
    if (found == groups_.end()) {
        found = groups_.insert(key, RepoGroup{project.gitRepoURL, {}});
        groupOrder_.append(key);
    }
    found->projects.append(project);
    if (project.gitRepoURL && *project.gitRepoURL == project.url)
        treeRootIndex_.insert(project.url, discovered_.size());
    discovered_.append(project);
}

void ScanRun::projectFinished(const Project& project, const QSet<QString>& candidates) {
    {
        std::lock_guard guard(candidatesLock_);
        candidatesByProject_.insert(project.id, candidates);
    }
    // Walking is depth first: when a working tree's own folder is done, so is every project in it.
    const bool closesGroup = !project.gitRepoURL || *project.gitRepoURL == project.url;
    if (closesGroup)
        dispatch(groups_.value(groupKey(project)));
}

void ScanRun::dispatch(const RepoGroup& group) {
    if (group.projects.isEmpty())
        return;
    dispatchedGroups_.insert(groupKey(group.projects.first()));
    inspections_.enqueue(
        [this, group, others = projectsOfOtherTrees(group)] { inspectGroup(group, others); });
}

// Called on the walker's thread when the group is dispatched: by then every project in the
// tree's folder has been found.
QList<Project> ScanRun::projectsOfOtherTrees(const RepoGroup& group) const {
    QList<Project> others;
    if (!group.repoURL)
        return others;
    const QString& root = *group.repoURL;
    // A tree whose root the walk never reached (it lies above the scanned folder) is done only
    // with the walk, and then everything found is looked at.
    for (qsizetype index = treeRootIndex_.value(root, 0); index < discovered_.size(); ++index) {
        const Project& project = discovered_.at(index);
        if (project.gitRepoURL != group.repoURL && Paths::isUnder(project.url, root))
            others.append(project);
    }
    return others;
}

void ScanRun::inspectGroup(const RepoGroup& group, const QList<Project>& projectsOfOtherTrees) {
    const CancellationToken& cancellation = sink_->cancellation();
    if (cancellation.isCancelled())
        return;
    QHash<QUuid, QSet<QString>> candidates;
    {
        std::lock_guard guard(candidatesLock_);
        for (const Project& project : group.projects)
            candidates.insert(project.id, candidatesByProject_.value(project.id));
    }
    const QList<ProjectInspection> inspections = RepoGroupInspector::inspect(
        group, candidates, {rules_, projectsOfOtherTrees}, cancellation);

    std::optional<CleanableItem> wholeProject;
    QList<CleanableItem> parts;
    for (const ProjectInspection& inspection : inspections) {
        sink_->send({ScanEvent::gitStatusUpdated(inspection.project.id, inspection.details),
                     ScanEvent::itemsClassified(inspection.project.id, inspection.items)});
        for (const CleanableItem& item : inspection.items) {
            if (item.kind == ArtifactKind::wholeProject)
                wholeProject = item;
            else
                parts.append(item);
        }
    }
    std::shared_ptr<WholeProjectTally> tally;
    if (wholeProject)
        tally = measureWholeProjectRest(*wholeProject, parts);
    for (const CleanableItem& item : std::as_const(parts))
        measurements_.enqueue([this, item, tally] { measure(item, tally); });
}

std::shared_ptr<WholeProjectTally>
ScanRun::measureWholeProjectRest(const CleanableItem& whole, const QList<CleanableItem>& parts) {
    auto tally =
        std::make_shared<WholeProjectTally>(sink_, whole.id, static_cast<int>(parts.size()) + 1);
    QSet<QString> excluded;
    for (const CleanableItem& item : parts)
        excluded.insert(item.url);
    measurements_.enqueue([this, url = whole.url, excluded, tally] {
        try {
            tally->add(SizeCalculator::measure(url, sink_->cancellation(), excluded));
        } catch (const CancelledError&) {
        }
    });
    return tally;
}

void ScanRun::measure(const CleanableItem& item, const std::shared_ptr<WholeProjectTally>& tally) {
    try {
        const SpaceUse space = SizeCalculator::measure(item.url, sink_->cancellation());
        sink_->send(ScanEvent::sizeUpdated(item.id, space, sharedWith(item, space)));
        if (tally)
            tally->add(space);
    } catch (const CancelledError&) {
    }
}

} // namespace corvane
