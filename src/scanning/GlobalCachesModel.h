#pragma once

#include "platform/InventoryModel.h"
#include "platform/TrashPlan.h"
#include "scanning/GlobalCacheCatalog.h"

#include <QHash>
#include <QList>

namespace corvane {

struct GlobalCacheItem {
    GlobalCacheEntry entry;
    // Marked Keep (or holding a kept folder), as the trash step judges it: never ticked, never
    // counted, never trashed.
    bool isKept = false;

    const QString& id() const { return entry.id; }
    bool operator==(const GlobalCacheItem&) const = default;
};

// The developer caches of the home folder: listed and measured in the background on each load,
// nothing ticked by default (a load clears the ticks), and the ticked ones moved to the Trash
// inside the home folder; a kept cache cannot be ticked. Identifiers are the caches' paths relative
// to the home folder.
class GlobalCachesModel : public InventoryModel {
    Q_OBJECT

public:
    explicit GlobalCachesModel(ToastCenter& toasts, QObject* parent = nullptr,
                               const PlatformTrash& trash = PlatformTrash::system());

    // In catalog order.
    const QList<GlobalCacheItem>& caches() const { return caches_; }
    // A cache without an entry has not been measured yet.
    const QHash<QString, qint64>& cacheSizeByID() const { return cacheSizeByID_; }
    qint64 measuredBytes() const;
    // What could go: the measured caches that are not kept.
    qint64 removableBytes() const;
    qint64 selectedBytes() const;
    std::optional<GlobalCacheItem> cache(const QString& id) const;

    // The ticked caches, each allowed inside the home folder only, so a cache folder that is a
    // link to another volume is refused.
    TrashPlan trashPlan() const;
    // Moves exactly `plan` to the Trash (under the dry-run switch, only looks). Ignored while a
    // removal runs.
    void trash(const TrashPlan& plan);

signals:
    void cachesChanged();
    void cacheSizeByIDChanged();
    void trashCompleted(const corvane::TrashResult& result);

protected:
    void startLoading() override;
    // Only caches that are listed and not kept can be ticked.
    bool containsItem(const QString& id) const override;

private:
    void showListing(const QList<GlobalCacheItem>& caches);
    void applyTrashResult(const TrashResult& result);

    const PlatformTrash& platformTrash_;
    QList<GlobalCacheItem> caches_;
    QHash<QString, qint64> cacheSizeByID_;
};

} // namespace corvane
