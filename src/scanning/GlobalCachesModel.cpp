#include "scanning/GlobalCachesModel.h"

#include "platform/CheckedSum.h"
#include "platform/Locations.h"
#include "platform/SizeCalculator.h"
#include "platform/TrashService.h"

namespace corvane {

GlobalCachesModel::GlobalCachesModel(ToastCenter& toasts, QObject* parent,
                                     const PlatformTrash& trash)
    : InventoryModel(toasts, false, parent)
    , platformTrash_(trash) {}

bool GlobalCachesModel::containsItem(const QString& id) const {
    const std::optional<GlobalCacheItem> item = cache(id);
    return item && !item->isKept;
}

std::optional<GlobalCacheItem> GlobalCachesModel::cache(const QString& id) const {
    for (const GlobalCacheItem& item : caches_) {
        if (item.id() == id)
            return item;
    }
    return std::nullopt;
}

void GlobalCachesModel::startLoading() {
    // A fresh look starts with nothing ticked: a size read before the load could have grown.
    clearSelection();
    startJob(JobKind::load, [this](const CancellationToken& cancellation,
                                   const MainThreadPost& post) {
        const QList<GlobalCacheEntry> entries = GlobalCacheCatalog::listing(Locations::homeDir());
        // Read here, off the main thread: the Keep check resolves links on disk.
        QList<GlobalCacheItem> caches;
        for (const GlobalCacheEntry& entry : entries)
            caches.append({entry, TrashService::keepRefusal(entry.url).has_value()});
        post([this, caches] { showListing(caches); });
        for (const GlobalCacheEntry& entry : entries) {
            const qint64 bytes = SizeCalculator::size(entry.url, cancellation);
            post([this, id = entry.id, bytes] {
                cacheSizeByID_.insert(id, bytes);
                emit cacheSizeByIDChanged();
            });
        }
        post([this] { finishLoading(); });
    });
}

void GlobalCachesModel::showListing(const QList<GlobalCacheItem>& caches) {
    if (!cacheSizeByID_.isEmpty()) {
        cacheSizeByID_.clear();
        emit cacheSizeByIDChanged();
    }
    if (caches != caches_) {
        caches_ = caches;
        emit cachesChanged();
    }
}

qint64 GlobalCachesModel::measuredBytes() const {
    qint64 total = 0;
    for (const GlobalCacheItem& item : caches_)
        total = checkedSum(total, cacheSizeByID_.value(item.id(), 0));
    return total;
}

qint64 GlobalCachesModel::removableBytes() const {
    qint64 total = 0;
    for (const GlobalCacheItem& item : caches_) {
        if (!item.isKept)
            total = checkedSum(total, cacheSizeByID_.value(item.id(), 0));
    }
    return total;
}

qint64 GlobalCachesModel::selectedBytes() const {
    qint64 total = 0;
    for (const QString& id : selectedIDs())
        total = checkedSum(total, cacheSizeByID_.value(id, 0));
    return total;
}

TrashPlan GlobalCachesModel::trashPlan() const {
    TrashPlan plan;
    plan.area = QStringLiteral("caches");
    const QString home = Locations::homeDir();
    for (const GlobalCacheItem& item : caches_) {
        if (!selectedIDs().contains(item.id()) || item.isKept)
            continue;
        const auto size = cacheSizeByID_.constFind(item.id());
        plan.add(home, item.entry.url,
                 size == cacheSizeByID_.cend() ? std::nullopt : std::optional(*size));
        plan.labelByURL.insert(item.entry.url,
                               {QStringLiteral("Developer caches"), item.entry.name, std::nullopt});
    }
    return plan;
}

void GlobalCachesModel::trash(const TrashPlan& plan) {
    trashInBackground(plan, platformTrash_,
                      [this](const TrashResult& result) { applyTrashResult(result); });
}

void GlobalCachesModel::applyTrashResult(const TrashResult& result) {
    if (const QString toast = trashToastText(result); !toast.isEmpty())
        toasts().post(toast, ToastStyle::success, putBackOffer(result.cleanup));
    QList<ItemFailure> failures;
    for (const TrashFailure& failure : result.outcome.failures) {
        const auto item =
            std::find_if(caches_.cbegin(), caches_.cend(),
                         [&](const GlobalCacheItem& c) { return c.entry.url == failure.url; });
        failures.append({item == caches_.cend() ? failure.url : item->id(),
                         item == caches_.cend() ? failure.url : item->entry.name, failure.message});
    }
    if (!result.wasDryRun) {
        const qsizetype before = caches_.size();
        caches_.removeIf([&](const GlobalCacheItem& item) {
            if (!result.outcome.trashed.contains(item.entry.url))
                return false;
            cacheSizeByID_.remove(item.id());
            return true;
        });
        if (caches_.size() != before) {
            emit cachesChanged();
            emit cacheSizeByIDChanged();
        }
    }
    finishRemoval(failures);
    emit trashCompleted(result);
}

} // namespace corvane
