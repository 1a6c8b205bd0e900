#include "apps/AppsModel.h"

#include "apps/AppInventoryLoader.h"

#include <algorithm>

namespace corvane {

AppsModel::AppsModel(ToastCenter& toasts, bool isDryRun, QObject* parent)
    : InventoryModel(toasts, isDryRun, parent) {}

AppsModel::~AppsModel() = default;

QList<OrphanedAppData> AppsModel::visibleOrphans() const {
    if (!hideSmallEntries_)
        return inventory_.orphans;
    QList<OrphanedAppData> shown;
    for (const OrphanedAppData& orphan : inventory_.orphans)
        if (orphan.sizeBytes() >= smallEntryBytes)
            shown.append(orphan);
    return shown;
}

void AppsModel::setHideSmallEntries(bool on) {
    if (hideSmallEntries_ == on)
        return;
    hideSmallEntries_ = on;
    emit inventoryChanged();
}

QSet<QString> AppsModel::preselected(const InstalledApp& app) {
    using Kind = AppDataItem::Kind;
    QSet<QString> ticked;
    for (const AppDataItem& item : app.data)
        if (item.isExactMatch &&
            (item.kind == Kind::caches || item.kind == Kind::logs || item.kind == Kind::savedState))
            ticked.insert(item.url);
    return ticked;
}

void AppsModel::startLoading() {
    startJob(JobKind::load, [this, provider = caskMapProvider_](
                                const CancellationToken& cancellation, const MainThreadPost& post) {
        std::optional<AppInventory> loaded;
        try {
            loaded = AppInventoryLoader::load(provider ? provider() : CaskMap(), cancellation);
        } catch (const CancelledError&) {
            // A newer load replaces this one; what is shown stays until it ends.
        }
        post([this, loaded] {
            if (loaded) {
                inventory_ = *loaded;
                pruneSelection();
                emit inventoryChanged();
            }
            finishLoading();
        });
    });
}

bool AppsModel::containsItem(const QString& id) const {
    auto listed = [&](const QList<AppDataItem>& items) {
        return std::any_of(items.begin(), items.end(),
                           [&](const AppDataItem& item) { return item.url == id; });
    };
    for (const InstalledApp& app : inventory_.apps)
        if (app.url == id || listed(app.data))
            return true;
    for (const OrphanedAppData& orphan : inventory_.orphans)
        if (listed(orphan.items))
            return true;
    return false;
}

} // namespace corvane
