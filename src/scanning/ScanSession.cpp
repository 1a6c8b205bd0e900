#include "scanning/ScanSession.h"

#include "platform/BackgroundJobs.h"
#include "platform/ByteFormat.h"
#include "platform/CheckedSum.h"
#include "platform/Locations.h"
#include "platform/MainThreadMailbox.h"
#include "platform/Paths.h"
#include "platform/SizeCalculator.h"
#include "scanning/GlobalCacheCatalog.h"
#include "scanning/ProjectTree.h"

#include <QDir>
#include <array>

namespace corvane {
namespace {

// One bit per observed property; every update collects its bits and announces them once.
enum Change : unsigned {
    rootChange = 1u << 0,
    scanningChange = 1u << 1,
    currentPathChange = 1u << 2,
    projectsChange = 1u << 3,
    itemsChange = 1u << 4,
    gitChange = 1u << 5,
    sizesChange = 1u << 6,
    selectedItemsChange = 1u << 7,
    selectionChange = 1u << 8,
    cachesChange = 1u << 9,
    cacheSizesChange = 1u << 10,
    selectedCachesChange = 1u << 11,
    cacheScanningChange = 1u << 12,
    failuresChange = 1u << 13,
    trashingChange = 1u << 14,
    sortChange = 1u << 15,
    filterChange = 1u << 16,
    pendingChange = 1u << 17,
    nextChange = 1u << 18,
};

struct Announcement {
    Change change;
    void (ScanSession::*signal)();
};

constexpr std::array announcements{
    Announcement{rootChange, &ScanSession::rootURLChanged},
    Announcement{scanningChange, &ScanSession::isScanningChanged},
    Announcement{currentPathChange, &ScanSession::currentPathChanged},
    Announcement{projectsChange, &ScanSession::projectsChanged},
    Announcement{itemsChange, &ScanSession::itemsByProjectChanged},
    Announcement{gitChange, &ScanSession::gitDetailsByProjectChanged},
    Announcement{sizesChange, &ScanSession::sizeByItemChanged},
    Announcement{selectedItemsChange, &ScanSession::selectedItemIDsChanged},
    Announcement{selectionChange, &ScanSession::selectionChanged},
    Announcement{cachesChange, &ScanSession::globalCachesChanged},
    Announcement{cacheSizesChange, &ScanSession::cacheSizeByIDChanged},
    Announcement{selectedCachesChange, &ScanSession::selectedCacheIDsChanged},
    Announcement{cacheScanningChange, &ScanSession::isCacheScanningChanged},
    Announcement{failuresChange, &ScanSession::trashFailuresChanged},
    Announcement{trashingChange, &ScanSession::isTrashingChanged},
    Announcement{sortChange, &ScanSession::sortModeChanged},
    Announcement{filterChange, &ScanSession::showOnlyUnsyncedChanged},
    Announcement{pendingChange, &ScanSession::pendingSelectionPathChanged},
    Announcement{nextChange, &ScanSession::nextSelectionPathChanged},
};

template <typename Value> unsigned assign(Value& field, const Value& value, Change change) {
    if (field == value)
        return 0;
    field = value;
    return change;
}

template <typename Container> unsigned clear(Container& container, Change change) {
    if (container.isEmpty())
        return 0;
    container.clear();
    return change;
}

QString absolutePath(const QString& path) {
    return Paths::standardized(QDir::current().absoluteFilePath(path));
}

// Drops repeated URLs and those inside another URL of the list: trashing the outer folder takes
// them along, and counting both would report their bytes twice.
QList<QString> outermost(const QList<QString>& urls) {
    QList<QString> kept;
    for (const QString& url : urls) {
        const bool covered = std::any_of(urls.cbegin(), urls.cend(), [&url](const QString& other) {
            return other != url && Paths::isUnder(url, other);
        });
        if (!covered && !kept.contains(url))
            kept.append(url);
    }
    return kept;
}

bool isUnderAny(const QString& path, const QList<QString>& folders) {
    return std::any_of(folders.cbegin(), folders.cend(),
                       [&path](const QString& folder) { return Paths::isUnder(path, folder); });
}

} // namespace

struct ScanSession::TrashResult {
    TrashPlan plan;
    TrashOutcome items;
    TrashOutcome caches;
};

ScanSession::ScanSession(ToastCenter& toasts, ScanStarter starter, QObject* parent)
    : QObject(parent)
    , toasts_(toasts)
    , starter_(std::move(starter))
    , mailbox_(std::make_shared<MainThreadMailbox>(this)) {}

ScanSession::~ScanSession() {
    // Workers still running find the mailbox closed and stop at their next cancellation check.
    mailbox_->close();
    jobCancellation_.cancel();
}

void ScanSession::announce(unsigned changes) {
    for (const Announcement& announcement : announcements) {
        if (changes & announcement.change)
            emit(this->*announcement.signal)();
    }
}

void ScanSession::setSelection(const std::optional<SidebarSelection>& selection) {
    announce(assign(selection_, selection, selectionChange));
}

void ScanSession::setSortMode(ProjectSortMode mode) {
    announce(assign(sortMode_, mode, sortChange));
}

void ScanSession::setShowOnlyUnsynced(bool on) {
    announce(assign(showOnlyUnsynced_, on, filterChange));
}

void ScanSession::setPendingSelectionPath(const std::optional<QString>& path) {
    announce(assign(pendingSelectionPath_, path, pendingChange));
}

void ScanSession::setNextSelectionPath(const std::optional<QString>& path) {
    announce(assign(nextSelectionPath_, path, nextChange));
}

std::optional<ScanRefusal> ScanSession::chooseFolderAndScan(const QString& folder) {
    if (std::optional<ScanRefusal> refusal = scanRefusal(folder, Locations::homeDir()))
        return refusal;
    const QString root = absolutePath(folder);
    unsigned changes = assign(rootURL_, std::optional<QString>(root), rootChange);
    // Projects of another folder's scan are gone; their ids would never match again.
    if (selection_ && selection_->kind == SidebarSelection::Kind::project)
        changes |= assign(selection_, std::optional<SidebarSelection>(), selectionChange);
    announce(changes);
    startScan(root);
    return std::nullopt;
}

void ScanSession::rescan() {
    if (!rootURL_)
        return;
    // Identities do not survive a scan, paths do: the selected project is found again by path.
    std::optional<QString> reselect = pendingSelectionPath_;
    if (selection_ && selection_->kind == SidebarSelection::Kind::project)
        reselect = selection_->project->url;
    if (nextSelectionPath_)
        reselect = nextSelectionPath_;
    unsigned changes = assign(nextSelectionPath_, std::optional<QString>(), nextChange);
    changes |= assign(pendingSelectionPath_, reselect, pendingChange);
    if (selection_ && selection_->kind == SidebarSelection::Kind::project)
        changes |= assign(selection_, std::optional<SidebarSelection>(), selectionChange);
    announce(changes);
    startScan(*rootURL_);
}

void ScanSession::startScan(const QString& root) {
    // The previous scan is cancelled and cut off now, so none of its events arrive after this.
    // Its stream is only destroyed at the next scan: this may run inside its own delivery (a view
    // rescanning when a scan completes).
    if (scanStream_) {
        scanStream_->cancel();
        disconnect(scanStream_.get(), nullptr, this, nullptr);
    }
    retiredStream_ = std::move(scanStream_);
    unsigned changes = clear(projects_, projectsChange) | clear(itemsByProject_, itemsChange) |
                       clear(gitDetailsByProject_, gitChange) | clear(sizeByItem_, sizesChange) |
                       clear(selectedItemIDs_, selectedItemsChange) |
                       assign(currentPath_, QString(), currentPathChange) |
                       assign(isScanning_, true, scanningChange);
    scanStream_ = starter_ ? starter_(root, scanOptions_) : nullptr;
    if (scanStream_) {
        connect(scanStream_.get(), &ScanStream::eventsArrived, this, &ScanSession::applyEvents);
        announce(changes);
        return;
    }
    announce(changes);
    finishScan();
}

void ScanSession::applyEvents(const QList<ScanEvent>& events) {
    unsigned changes = 0;
    for (const ScanEvent& event : events) {
        if (!isScanning_)
            break;
        changes |= apply(event);
    }
    announce(changes);
}

unsigned ScanSession::apply(const ScanEvent& event) {
    switch (event.kind) {
    case ScanEvent::Kind::progress:
        return assign(currentPath_, event.currentPath, currentPathChange);
    case ScanEvent::Kind::projectDiscovered: {
        projects_.append(event.project);
        unsigned changes = projectsChange;
        if (pendingSelectionPath_ &&
            Paths::standardized(*pendingSelectionPath_) == Paths::standardized(event.project.url)) {
            selection_ = SidebarSelection::forProject(event.project);
            pendingSelectionPath_.reset();
            changes |= selectionChange | pendingChange;
        }
        return changes;
    }
    case ScanEvent::Kind::gitStatusUpdated:
        gitDetailsByProject_.insert(event.projectID, event.details);
        return gitChange;
    case ScanEvent::Kind::itemsClassified: {
        unsigned changes = itemsChange;
        // Replaced items are gone, and so are their ticks and sizes.
        for (const CleanableItem& old : itemsByProject_.value(event.projectID)) {
            if (selectedItemIDs_.remove(old.id))
                changes |= selectedItemsChange;
            if (sizeByItem_.remove(old.id))
                changes |= sizesChange;
        }
        itemsByProject_.insert(event.projectID, event.items);
        return changes | preselect(event.projectID, event.items);
    }
    case ScanEvent::Kind::sizeUpdated:
        sizeByItem_.insert(event.itemID, event.bytes);
        return sizesChange;
    case ScanEvent::Kind::scanCompleted:
        // The finished stream stays until the next scan: it is still emitting this batch.
        return assign(isScanning_, false, scanningChange) |
               assign(pendingSelectionPath_, std::optional<QString>(), pendingChange);
    }
    return 0;
}

unsigned ScanSession::preselect(const QUuid& projectID, const QList<CleanableItem>& items) {
    // Uncommitted work: nothing of the project is ticked until the user says so.
    const auto details = gitDetailsByProject_.constFind(projectID);
    if (details != gitDetailsByProject_.cend() && details->status.kind() == GitStatus::Case::dirty)
        return 0;
    unsigned changes = 0;
    for (const CleanableItem& item : items) {
        if (item.confidence == CleanConfidence::safe && !selectedItemIDs_.contains(item.id)) {
            selectedItemIDs_.insert(item.id);
            changes = selectedItemsChange;
        }
    }
    return changes;
}

void ScanSession::finishScan() {
    announce(assign(isScanning_, false, scanningChange) |
             assign(pendingSelectionPath_, std::optional<QString>(), pendingChange));
}

void ScanSession::toggleItem(const QUuid& itemID) {
    setItemSelected(itemID, !selectedItemIDs_.contains(itemID));
}

void ScanSession::setItemSelected(const QUuid& itemID, bool selected) {
    if (selected == selectedItemIDs_.contains(itemID))
        return;
    if (!selected) {
        selectedItemIDs_.remove(itemID);
        announce(selectedItemsChange);
        return;
    }
    for (const QList<CleanableItem>& items : std::as_const(itemsByProject_)) {
        for (const CleanableItem& item : items) {
            if (item.id == itemID) {
                selectedItemIDs_.insert(itemID);
                announce(selectedItemsChange);
                return;
            }
        }
    }
}

void ScanSession::toggleCache(const QString& cacheID) {
    setCacheSelected(cacheID, !selectedCacheIDs_.contains(cacheID));
}

void ScanSession::setCacheSelected(const QString& cacheID, bool selected) {
    if (selected == selectedCacheIDs_.contains(cacheID))
        return;
    const bool listed =
        std::any_of(globalCaches_.cbegin(), globalCaches_.cend(),
                    [&cacheID](const GlobalCacheItem& c) { return c.id() == cacheID; });
    if (selected && !listed)
        return;
    if (selected)
        selectedCacheIDs_.insert(cacheID);
    else
        selectedCacheIDs_.remove(cacheID);
    announce(selectedCachesChange);
}

void ScanSession::scanCaches() {
    if (isCacheScanning_)
        return;
    const int generation = ++cacheGeneration_;
    QList<GlobalCacheItem> caches;
    for (const GlobalCacheEntry& entry : GlobalCacheCatalog::listing(Locations::homeDir()))
        caches.append({entry});
    // Sizes are measured afresh: an old size of a cache that has since grown would mislead.
    unsigned changes = assign(globalCaches_, caches, cachesChange) |
                       clear(selectedCacheIDs_, selectedCachesChange) |
                       clear(cacheSizeByID_, cacheSizesChange);
    if (caches.isEmpty()) {
        announce(changes);
        return;
    }
    announce(changes | assign(isCacheScanning_, true, cacheScanningChange));

    runInBackground(
        [this, caches, generation, mailbox = mailbox_, cancellation = jobCancellation_] {
            try {
                for (const GlobalCacheItem& cache : caches) {
                    const qint64 bytes = SizeCalculator::size(cache.entry.url, cancellation);
                    mailbox->post([this, generation, id = cache.id(), bytes] {
                        applyCacheSize(generation, id, bytes);
                    });
                }
            } catch (const CancelledError&) {
                return;
            }
            mailbox->post([this, generation] { finishCacheScan(generation); });
        });
}

void ScanSession::applyCacheSize(int generation, const QString& cacheID, qint64 bytes) {
    const bool listed =
        std::any_of(globalCaches_.cbegin(), globalCaches_.cend(),
                    [&cacheID](const GlobalCacheItem& c) { return c.id() == cacheID; });
    if (generation != cacheGeneration_ || !listed)
        return;
    cacheSizeByID_.insert(cacheID, bytes);
    announce(cacheSizesChange);
}

void ScanSession::finishCacheScan(int generation) {
    if (generation == cacheGeneration_)
        announce(assign(isCacheScanning_, false, cacheScanningChange));
}

TrashPlan ScanSession::trashPlan(const TrashScope& scope) const {
    TrashPlan plan;
    plan.cacheRoot = Locations::homeDir();
    if (scope.kind != TrashScope::Kind::caches && rootURL_) {
        plan.itemRoot = *rootURL_;
        QList<QString> urls;
        for (const Project& project : projects_) {
            if (scope.kind == TrashScope::Kind::project &&
                (!scope.project || project.id != scope.project->id))
                continue;
            for (const CleanableItem& item : itemsByProject_.value(project.id)) {
                if (!selectedItemIDs_.contains(item.id))
                    continue;
                urls.append(item.url);
                if (const auto size = sizeByItem_.constFind(item.id); size != sizeByItem_.cend())
                    plan.sizeByURL.insert(item.url, *size);
            }
        }
        plan.itemURLs = outermost(urls);
    }
    if (scope.kind != TrashScope::Kind::project) {
        for (const GlobalCacheItem& cache : globalCaches_) {
            if (!selectedCacheIDs_.contains(cache.id()))
                continue;
            plan.cacheURLs.append(cache.entry.url);
            if (const auto size = cacheSizeByID_.constFind(cache.id());
                size != cacheSizeByID_.cend())
                plan.sizeByURL.insert(cache.entry.url, *size);
        }
    }
    return plan;
}

TrashPlan ScanSession::trashPlan(const QList<QString>& paths) const {
    TrashPlan plan;
    plan.cacheRoot = Locations::homeDir();
    if (!rootURL_)
        return plan;
    plan.itemRoot = *rootURL_;
    QHash<QString, QUuid> itemAtPath;
    for (const QList<CleanableItem>& items : itemsByProject_) {
        for (const CleanableItem& item : items)
            itemAtPath.insert(item.url, item.id);
    }
    for (const QString& given : paths) {
        const QString path = absolutePath(given);
        if (plan.itemURLs.contains(path))
            continue;
        plan.itemURLs.append(path);
        const auto item = itemAtPath.constFind(path);
        const auto size =
            item == itemAtPath.cend() ? sizeByItem_.cend() : sizeByItem_.constFind(*item);
        if (size == sizeByItem_.cend())
            plan.unmeasuredPaths.append(path);
        else
            plan.sizeByURL.insert(path, *size);
    }
    return plan;
}

void ScanSession::trash(const TrashScope& scope) {
    if (isTrashing_)
        return;
    if (TrashPlan plan = trashPlan(scope); !plan.isEmpty())
        runTrash(std::move(plan));
}

void ScanSession::trashPaths(const QList<QString>& paths) {
    if (isTrashing_)
        return;
    if (TrashPlan plan = trashPlan(paths); !plan.isEmpty())
        runTrash(std::move(plan));
}

void ScanSession::runTrash(TrashPlan plan) {
    announce(assign(isTrashing_, true, trashingChange));
    runInBackground(
        [this, plan = std::move(plan), mailbox = mailbox_, cancellation = jobCancellation_] {
            TrashResult result{plan, {}, {}};
            try {
                result.plan.measureUnmeasured(cancellation);
            } catch (const CancelledError&) {
                return;
            }
            // Project items only inside the scanned folder, caches only inside the home folder.
            if (!plan.itemURLs.isEmpty() && !plan.itemRoot.isEmpty())
                result.items = TrashService::trash(plan.itemURLs, plan.itemRoot);
            if (!plan.cacheURLs.isEmpty())
                result.caches = TrashService::trash(plan.cacheURLs, plan.cacheRoot);
            mailbox->post([this, result] { applyTrashResult(result); });
        });
}

void ScanSession::applyTrashResult(const TrashResult& result) {
    TrashOutcome outcome = result.items;
    outcome.append(result.caches);
    const qint64 reclaimed = result.plan.bytesOf(outcome.trashed);
    if (!outcome.trashed.isEmpty())
        toasts_.post(QStringLiteral("Reclaimed ") + formatBytes(reclaimed));

    unsigned changes = forgetTrashed(result.items.trashed);
    for (const QString& url : result.caches.trashed) {
        for (qsizetype index = globalCaches_.size() - 1; index >= 0; --index) {
            const QString id = globalCaches_[index].id();
            if (globalCaches_[index].entry.url != url)
                continue;
            globalCaches_.removeAt(index);
            changes |= cachesChange;
            if (selectedCacheIDs_.remove(id))
                changes |= selectedCachesChange;
            if (cacheSizeByID_.remove(id))
                changes |= cacheSizesChange;
        }
    }
    changes |= assign(trashFailures_, outcome.failures, failuresChange);
    changes |= assign(isTrashing_, false, trashingChange);
    announce(changes);
    emit trashCompleted(outcome, reclaimed);
}

unsigned ScanSession::forgetTrashed(const QList<QString>& trashedURLs) {
    if (trashedURLs.isEmpty())
        return 0;
    unsigned changes = 0;
    const auto forgetItem = [this, &changes](const CleanableItem& item) {
        if (selectedItemIDs_.remove(item.id))
            changes |= selectedItemsChange;
        if (sizeByItem_.remove(item.id))
            changes |= sizesChange;
    };
    // A trashed folder takes along every project and item inside it, not only its own record.
    for (qsizetype index = projects_.size() - 1; index >= 0; --index) {
        const Project project = projects_[index];
        if (!isUnderAny(project.url, trashedURLs))
            continue;
        projects_.removeAt(index);
        gitDetailsByProject_.remove(project.id);
        for (const CleanableItem& item : itemsByProject_.take(project.id))
            forgetItem(item);
        changes |= projectsChange | gitChange | itemsChange;
        if (selection_ && selection_->project && selection_->project->id == project.id) {
            selection_.reset();
            changes |= selectionChange;
        }
    }
    for (QList<CleanableItem>& items : itemsByProject_) {
        for (qsizetype index = items.size() - 1; index >= 0; --index) {
            if (!isUnderAny(items[index].url, trashedURLs))
                continue;
            forgetItem(items.takeAt(index));
            changes |= itemsChange;
        }
    }
    return changes;
}

QList<ProjectNode> ScanSession::projectTree() const {
    const ProjectTree tree{projects_, gitDetailsByProject_,
                           [this](const QUuid& id) { return reclaimableBytes(id); }};
    return tree.build(sortMode_, showOnlyUnsynced_);
}

QList<Project> ScanSession::orderedProjects() const {
    return flattened(projectTree());
}

std::optional<Project> ScanSession::project(const QUuid& projectID) const {
    for (const Project& project : projects_) {
        if (project.id == projectID)
            return project;
    }
    return std::nullopt;
}

qint64 ScanSession::reclaimableBytes(const QUuid& projectID) const {
    qint64 total = 0;
    for (const CleanableItem& item : itemsByProject_.value(projectID)) {
        if (item.confidence == CleanConfidence::safe)
            total = checkedSum(total, sizeByItem_.value(item.id, 0));
    }
    return total;
}

qint64 ScanSession::reclaimableBytes() const {
    qint64 total = 0;
    for (const Project& project : projects_)
        total = checkedSum(total, reclaimableBytes(project.id));
    return total;
}

QMap<ArtifactKind, qint64> ScanSession::reclaimableBytesByKind() const {
    QMap<ArtifactKind, qint64> totals;
    for (const Project& project : projects_) {
        for (const CleanableItem& item : itemsByProject_.value(project.id)) {
            const auto size = sizeByItem_.constFind(item.id);
            if (item.confidence == CleanConfidence::safe && size != sizeByItem_.cend())
                totals[item.kind] = checkedSum(totals.value(item.kind), *size);
        }
    }
    return totals;
}

qint64 ScanSession::selectedBytes() const {
    qint64 total = 0;
    for (const QUuid& id : selectedItemIDs_)
        total = checkedSum(total, sizeByItem_.value(id, 0));
    for (const QString& id : selectedCacheIDs_)
        total = checkedSum(total, cacheSizeByID_.value(id, 0));
    return total;
}

qint64 ScanSession::measuredBytes() const {
    qint64 total = 0;
    for (const qint64 bytes : sizeByItem_)
        total = checkedSum(total, bytes);
    return total;
}

qint64 ScanSession::measuredCacheBytes() const {
    qint64 total = 0;
    for (const GlobalCacheItem& cache : globalCaches_)
        total = checkedSum(total, cacheSizeByID_.value(cache.id(), 0));
    return total;
}

} // namespace corvane
