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
                         const PlatformTrash& trash)
    : QObject(parent)
    , toasts_(toasts)
    , starter_(std::move(starter))
    , platformTrash_(trash)
    , mailbox_(std::make_shared<MainThreadMailbox>(this)) {}

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
                       clear(selectedItemIDs_, selectedItemsChange) |
                       assign(currentPath_, QString(), currentPathChange) |
                       assign(isScanning_, true, scanningChange);
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
            if (sizeByItem_.remove(old.id))
                changes |= sizesChange;
        }
        itemsByProject_.insert(event.projectID, event.items);
        return changes | preselect(event.projectID, event.items);
    }
    case ScanEvent::Kind::sizeUpdated:
        if (trashedDuringScan_.contains(event.itemID))
            return 0;
        sizeByItem_.insert(event.itemID, event.bytes);
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
        if (item.confidence == CleanConfidence::safe && !selectedItemIDs_.contains(item.id)) {
            selectedItemIDs_.insert(item.id);
            changes = selectedItemsChange;
        }
    }
    return changes;
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
            if (item.id == itemID) {
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
            if (!selectedItemIDs_.contains(item.id))
                continue;
            urls.append(item.url);
            if (const auto size = sizeByItem_.constFind(item.id); size != sizeByItem_.cend())
                sizes.insert(item.url, *size);
        }
    }
    for (const QString& url : outermost(urls)) {
        const auto size = sizes.constFind(url);
        plan.add(*rootURL_, url, size == sizes.cend() ? std::nullopt : std::optional(*size));
    }
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
        if (!itemAt(path)) {
            result.refused.append({given, notAnItemMessage});
            continue;
        }
        urls.append(path);
    }
    for (const QString& url : outermost(urls)) {
        const CleanableItem item = *itemAt(url);
        const auto size = sizeByItem_.constFind(item.id);
        result.plan.add(*rootURL_, url,
                        size == sizeByItem_.cend() ? std::nullopt : std::optional(*size));
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
        if (sizeByItem_.remove(item.id))
            changes |= sizesChange;
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

std::optional<Project> ScanSession::projectAt(const QString& path) const {
    const QString wanted = Paths::absoluteStandardized(path);
    for (const Project& project : projects_) {
        if (project.url == wanted)
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
    return total;
}

qint64 ScanSession::measuredBytes() const {
    qint64 total = 0;
    for (const qint64 bytes : sizeByItem_)
        total = checkedSum(total, bytes);
    return total;
}

} // namespace corvane
