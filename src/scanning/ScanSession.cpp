#include "scanning/ScanSession.h"

#include "platform/BackgroundJobs.h"
#include "platform/CheckedSum.h"
#include "platform/Locations.h"
#include "platform/MainThreadMailbox.h"
#include "platform/Paths.h"
#include "scanning/ProjectTree.h"

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
    failuresChange = 1u << 8,
    trashingChange = 1u << 9,
    sortChange = 1u << 10,
    filterChange = 1u << 11,
    keptChange = 1u << 12,
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
    Announcement{failuresChange, &ScanSession::trashFailuresChanged},
    Announcement{trashingChange, &ScanSession::isTrashingChanged},
    Announcement{sortChange, &ScanSession::sortModeChanged},
    Announcement{filterChange, &ScanSession::showOnlyUnsyncedChanged},
    Announcement{keptChange, &ScanSession::keptPathsChanged},
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

bool isUnderAny(const QString& path, const QList<QString>& folders) {
    return std::any_of(folders.cbegin(), folders.cend(),
                       [&path](const QString& folder) { return Paths::isUnder(path, folder); });
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

} // namespace

ScanSession::ScanSession(ToastCenter& toasts, ScanStarter starter, QObject* parent,
                         const PlatformTrash& trash, KeepStore keepStore)
    : QObject(parent)
    , toasts_(toasts)
    , starter_(std::move(starter))
    , platformTrash_(trash)
    , keepStore_(std::move(keepStore))
    , mailbox_(std::make_shared<MainThreadMailbox>(this)) {
    reloadKeepMarks();
}

ScanSession::~ScanSession() {
    // A trash action still running goes on (the user confirmed it); its result finds the mailbox
    // closed.
    mailbox_->close();
}

void ScanSession::announce(unsigned changes) {
    for (const Announcement& announcement : announcements) {
        if (changes & announcement.change)
            emit(this->*announcement.signal)();
    }
}

void ScanSession::setSortMode(ProjectSortMode mode) {
    announce(assign(sortMode_, mode, sortChange));
}

void ScanSession::setShowOnlyUnsynced(bool on) {
    announce(assign(showOnlyUnsynced_, on, filterChange));
}

std::optional<ScanRefusal> ScanSession::chooseFolderAndScan(const QString& folder) {
    if (std::optional<ScanRefusal> refusal = scanRefusal(folder, Locations::homeDir()))
        return refusal;
    const QString root = Paths::absoluteStandardized(folder);
    announce(assign(rootURL_, std::optional<QString>(root), rootChange));
    startScan(root);
    return std::nullopt;
}

void ScanSession::rescan() {
    if (rootURL_)
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
    trashedDuringScan_.clear();
    unsigned changes = clear(projects_, projectsChange) | clear(itemsByProject_, itemsChange) |
                       clear(gitDetailsByProject_, gitChange) | clear(sizeByItem_, sizesChange) |
                       clear(spaceByItem_, sizesChange) | clear(sharingPnpmStore_, sizesChange) |
                       clear(selectedItemIDs_, selectedItemsChange) |
                       assign(currentPath_, QString(), currentPathChange) |
                       assign(isScanning_, true, scanningChange) | reloadKeepMarks();
    scanStream_ = starter_ ? starter_(root, scanOptionsFor(root, Locations::homeDir())) : nullptr;
    if (scanStream_)
        connect(scanStream_.get(), &ScanStream::eventsArrived, this, &ScanSession::applyEvents);
    emit scanStarted();
    announce(changes);
    if (!scanStream_)
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
    case ScanEvent::Kind::projectDiscovered:
        projects_.append(event.project);
        return projectsChange;
    case ScanEvent::Kind::gitStatusUpdated:
        if (trashedDuringScan_.contains(event.projectID))
            return 0;
        gitDetailsByProject_.insert(event.projectID, event.details);
        return gitChange;
    case ScanEvent::Kind::itemsClassified: {
        if (trashedDuringScan_.contains(event.projectID))
            return 0;
        unsigned changes = itemsChange;
        // Replaced items are gone, and so are their ticks and sizes.
        for (const CleanableItem& old : itemsByProject_.value(event.projectID)) {
            if (selectedItemIDs_.remove(old.id))
                changes |= selectedItemsChange;
            changes |= forgetSize(old.id);
        }
        itemsByProject_.insert(event.projectID, event.items);
        return changes | preselect(event.projectID, event.items);
    }
    case ScanEvent::Kind::sizeUpdated:
        if (trashedDuringScan_.contains(event.itemID))
            return 0;
        sizeByItem_.insert(event.itemID, event.space.sizeBytes);
        spaceByItem_.insert(event.itemID, event.space);
        if (event.sharedWith == SharedWith::pnpmStore)
            sharingPnpmStore_.insert(event.itemID);
        else
            sharingPnpmStore_.remove(event.itemID);
        return sizesChange;
    case ScanEvent::Kind::scanCompleted:
        // The finished stream stays until the next scan: it is still emitting this batch.
        return assign(isScanning_, false, scanningChange);
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
        if (ticksByDefault(item) && !selectedItemIDs_.contains(item.id)) {
            selectedItemIDs_.insert(item.id);
            changes = selectedItemsChange;
        }
    }
    return changes;
}

// Marks that cannot be read might keep anything, so then nothing is ticked.
bool ScanSession::ticksByDefault(const CleanableItem& item) const {
    return item.confidence == CleanConfidence::safe && !item.restoreHint.lockFileMissing &&
           !isKept(item) && !keepError_;
}

bool ScanSession::isKept(const CleanableItem& item) const {
    return KeepStore::protects(keptPaths_, item.url);
}

bool ScanSession::isKept(const Project& project) const {
    return KeepStore::isInsideKept(keptPaths_, project.url);
}

unsigned ScanSession::reloadKeepMarks() {
    const KeepStore::Marks marks = keepStore_.load();
    unsigned changes =
        assign(keptPaths_, marks.paths, keptChange) | assign(keepError_, marks.error, keptChange);
    for (const QList<CleanableItem>& items : std::as_const(itemsByProject_)) {
        for (const CleanableItem& item : items) {
            if (isKept(item) && selectedItemIDs_.remove(item.id))
                changes |= selectedItemsChange;
        }
    }
    return changes;
}

QString ScanSession::setKept(const QString& path, bool kept) {
    const QString error = kept ? keepStore_.add(path) : keepStore_.remove(path);
    // Read back whatever happened: another process may have changed the marks too.
    announce(reloadKeepMarks());
    return error;
}

unsigned ScanSession::forgetSize(const QUuid& itemID) {
    sharingPnpmStore_.remove(itemID);
    spaceByItem_.remove(itemID);
    return sizeByItem_.remove(itemID) ? unsigned{sizesChange} : 0u;
}

SharedWith ScanSession::sharedWith(const QUuid& itemID) const {
    return sharingPnpmStore_.contains(itemID) ? SharedWith::pnpmStore : SharedWith::otherFolders;
}

void ScanSession::finishScan() {
    announce(assign(isScanning_, false, scanningChange));
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
            if (item.id == itemID && !isKept(item)) {
                selectedItemIDs_.insert(itemID);
                announce(selectedItemsChange);
                return;
            }
        }
    }
}

TrashPlan ScanSession::trashPlan(const TrashScope& scope) const {
    TrashPlan plan;
    plan.area = cleanupArea;
    if (!rootURL_)
        return plan;
    QList<QString> urls;
    QHash<QString, qint64> sizes;
    for (const Project& project : projects_) {
        if (scope.kind == TrashScope::Kind::project &&
            (!scope.project || project.id != scope.project->id))
            continue;
        for (const CleanableItem& item : itemsByProject_.value(project.id)) {
            if (!selectedItemIDs_.contains(item.id) || isKept(item))
                continue;
            urls.append(item.url);
            // Listed under the project's folder, which tells two projects of one name apart.
            TrashPlan::Label label{Paths::withTilde(project.url, Locations::homeDir()),
                                   Paths::pathInside(item.url, project.url).value_or(item.name),
                                   std::nullopt};
            // What each item frees on its own: the confirmation and the report never promise
            // the links two trashed items share, which only the project's figure counts.
            if (const auto space = spaceByItem_.constFind(item.id); space != spaceByItem_.cend()) {
                sizes.insert(item.url, space->freesBytes);
                label.sizeBytes = space->sizeBytes;
            }
            plan.labelByURL.insert(item.url, label);
        }
    }
    const QList<QString> outer = outermost(urls);
    for (const QString& url : outer) {
        const auto size = sizes.constFind(url);
        plan.add(*rootURL_, url, size == sizes.cend() ? std::nullopt : std::optional(*size));
    }
    // Nested items go with their outer one and are not listed apart.
    const QSet<QString> listed(outer.cbegin(), outer.cend());
    plan.labelByURL.removeIf(
        [&listed](const auto& entry) { return !listed.contains(entry.key()); });
    return plan;
}

std::optional<CleanableItem> ScanSession::itemAt(const QString& path) const {
    for (const QList<CleanableItem>& items : itemsByProject_) {
        for (const CleanableItem& item : items) {
            if (item.url == path)
                return item;
        }
    }
    return std::nullopt;
}

ScanSession::PathsPlan ScanSession::trashPlan(const QList<QString>& paths) const {
    PathsPlan result;
    result.plan.area = cleanupArea;
    if (!rootURL_)
        return result;
    QList<QString> urls;
    for (const QString& given : paths) {
        const QString path = Paths::absoluteStandardized(given);
        // What leads outside the folder is refused for that first, as the trash service would.
        if (const std::optional<QString> refusal = TrashService::refusal(path, *rootURL_);
            refusal && *refusal == TrashService::refusedOutsideMessage) {
            result.refused.append({given, *refusal});
            continue;
        }
        const std::optional<CleanableItem> item = itemAt(path);
        if (!item) {
            result.refused.append({given, notAnItemMessage});
            continue;
        }
        if (isKept(*item)) {
            result.refused.append({given, keptMessage});
            continue;
        }
        urls.append(path);
    }
    for (const QString& url : outermost(urls)) {
        const CleanableItem item = *itemAt(url);
        const auto space = spaceByItem_.constFind(item.id);
        result.plan.add(*rootURL_, url,
                        space == spaceByItem_.cend() ? std::nullopt
                                                     : std::optional(space->freesBytes));
    }
    return result;
}

void ScanSession::trash(const TrashPlan& plan) {
    if (isTrashing_ || plan.isEmpty())
        return;
    announce(assign(isTrashing_, true, trashingChange));
    runInBackground([this, plan, mailbox = mailbox_, platform = &platformTrash_] {
        const TrashResult result = carryOut(plan, *platform);
        mailbox->post([this, result] { applyTrashResult(result); });
    });
}

void ScanSession::applyTrashResult(const TrashResult& result) {
    if (const QString toast = trashToastText(result); !toast.isEmpty())
        toasts_.post(toast, ToastStyle::success, putBackOffer(result.cleanup));
    unsigned changes = forgetTrashed(result.outcome.trashed);
    changes |= assign(trashFailures_, result.outcome.failures, failuresChange);
    changes |= assign(isTrashing_, false, trashingChange);
    announce(changes);
    emit trashCompleted(result);
}

unsigned ScanSession::forgetTrashed(const QList<QString>& trashedURLs) {
    if (trashedURLs.isEmpty())
        return 0;
    unsigned changes = 0;
    const auto forgetItem = [this, &changes](const CleanableItem& item) {
        if (selectedItemIDs_.remove(item.id))
            changes |= selectedItemsChange;
        changes |= forgetSize(item.id);
        if (isScanning_)
            trashedDuringScan_.insert(item.id);
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
        if (isScanning_)
            trashedDuringScan_.insert(project.id);
        changes |= projectsChange | gitChange | itemsChange;
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

ProjectTree ScanSession::tree() const {
    return {projects_, gitDetailsByProject_,
            [this](const QUuid& id) { return reclaimableBytes(id); }};
}

QList<ProjectNode> ScanSession::projectTree() const {
    return tree().build(sortMode_, showOnlyUnsynced_);
}

QHash<QUuid, qint64> ScanSession::branchReclaimableBytes() const {
    return tree().branchBytes();
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

std::optional<Project> ScanSession::projectAt(const QString& path) const {
    const QString wanted = Paths::absoluteStandardized(path);
    for (const Project& project : projects_) {
        if (project.url == wanted)
            return project;
    }
    return std::nullopt;
}

qint64 ScanSession::freedBytes(const QList<CleanableItem>& items) const {
    QList<SpaceUse> spaces;
    for (const CleanableItem& item : items) {
        const bool carried = std::any_of(items.cbegin(), items.cend(), [&item](const auto& other) {
            return other.url != item.url && Paths::isUnder(item.url, other.url);
        });
        // A nested item's links are already among its parent's: meeting them twice would
        // count a file as freed that still has a link elsewhere.
        if (carried)
            continue;
        if (const auto space = spaceByItem_.constFind(item.id); space != spaceByItem_.cend())
            spaces.append(*space);
    }
    if (spaces.size() == 1)
        return spaces.first().freesBytes;
    return freedTogether(spaces).freesBytes;
}

qint64 ScanSession::freedBytes(const QList<QUuid>& itemIDs) const {
    QList<CleanableItem> items;
    for (const QList<CleanableItem>& projectItems : itemsByProject_) {
        for (const CleanableItem& item : projectItems) {
            if (itemIDs.contains(item.id))
                items.append(item);
        }
    }
    return freedBytes(items);
}

QList<CleanableItem> ScanSession::reclaimableItems(const QUuid& projectID) const {
    QList<CleanableItem> reclaimable;
    for (const CleanableItem& item : itemsByProject_.value(projectID)) {
        if (item.confidence == CleanConfidence::safe && !isKept(item))
            reclaimable.append(item);
    }
    return reclaimable;
}

qint64 ScanSession::reclaimableBytes(const QUuid& projectID) const {
    return freedBytes(reclaimableItems(projectID));
}

qint64 ScanSession::reclaimableSizeBytes(const QUuid& projectID) const {
    qint64 total = 0;
    for (const CleanableItem& item : reclaimableItems(projectID))
        total = checkedSum(total, sizeByItem_.value(item.id, 0));
    return total;
}

qint64 ScanSession::reclaimableBytes() const {
    qint64 total = 0;
    for (const Project& project : projects_)
        total = checkedSum(total, reclaimableBytes(project.id));
    return total;
}

qint64 ScanSession::reclaimableSizeBytes() const {
    qint64 total = 0;
    for (const Project& project : projects_)
        total = checkedSum(total, reclaimableSizeBytes(project.id));
    return total;
}

QMap<ArtifactKind, qint64> ScanSession::reclaimableBytesByKind() const {
    QMap<ArtifactKind, qint64> totals;
    for (const Project& project : projects_) {
        for (const CleanableItem& item : itemsByProject_.value(project.id)) {
            const auto space = spaceByItem_.constFind(item.id);
            if (item.confidence == CleanConfidence::safe && !isKept(item) &&
                space != spaceByItem_.cend())
                totals[item.kind] = checkedSum(totals.value(item.kind), space->freesBytes);
        }
    }
    return totals;
}

qint64 ScanSession::selectedBytes() const {
    qint64 total = 0;
    for (const Project& project : projects_) {
        QList<CleanableItem> ticked;
        for (const CleanableItem& item : itemsByProject_.value(project.id)) {
            if (selectedItemIDs_.contains(item.id))
                ticked.append(item);
        }
        total = checkedSum(total, freedBytes(ticked));
    }
    return total;
}

qint64 ScanSession::measuredBytes() const {
    qint64 total = 0;
    for (const qint64 bytes : sizeByItem_)
        total = checkedSum(total, bytes);
    return total;
}

} // namespace corvane
