#include "apps/AppsModel.h"

#include "apps/AppInventoryLoader.h"
#include "apps/AppRemover.h"
#include "apps/BrewService.h"
#include "platform/ByteFormat.h"

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

QStringList AppsModel::pathsOfItem(const QString& id) const {
    // An app or a data item is named by its path.
    return containsItem(id) ? QStringList{id} : QStringList();
}

CaskMap AppsModel::homebrewCasks() {
    if (!BrewService::locate())
        return {};
    try {
        return BrewService().installedCaskApps();
    } catch (const BrewError&) {
        // Without the cask list every app is simply moved to the Trash when removed.
        return {};
    }
}

const InstalledApp* AppsModel::app(const QString& url) const {
    for (const InstalledApp& listed : inventory_.apps) {
        if (listed.url == url)
            return &listed;
    }
    return nullptr;
}

std::optional<QString> AppsModel::appRefusal(const InstalledApp& app) const {
    return AppRemover().appRefusal(app);
}

bool AppsModel::isRemovedByCommand(const InstalledApp& app) const {
    return AppRemover().isRemovedByCommand(app);
}

QString AppsModel::goneText(const OrphanedAppData& orphan) {
    if (!orphan.gone)
        return {};
    switch (orphan.gone->witness) {
    case AppGone::Witness::flatpak:
        return QStringLiteral("flatpak says %1 is no longer installed.")
            .arg(orphan.bundleIdentifier);
    case AppGone::Witness::snap:
        return QStringLiteral("snap says %1 is no longer installed.").arg(orphan.bundleIdentifier);
    case AppGone::Witness::seenBefore:
        break;
    }
    const QString until =
        orphan.gone->lastSeen
            ? QStringLiteral(" until ") +
                  orphan.gone->lastSeen->toLocalTime().toString(Qt::ISODate).left(10)
            : QString();
    return QStringLiteral("%1 was listed here%2; its menu entry and program are gone.")
        .arg(orphan.gone->appName, until);
}

namespace {

QString itemsWord(qsizetype count) {
    return count == 1 ? QStringLiteral("1 item") : QStringLiteral("%1 items").arg(count);
}

} // namespace

void AppsModel::removeApp(const QString& appURL, const QSet<QString>& dataURLs) {
    const InstalledApp* listed = app(appURL);
    if (!listed || !beginRemoval())
        return;
    const InstalledApp target = *listed;
    QList<AppDataItem> ticked;
    for (const AppDataItem& item : target.data) {
        if (dataURLs.contains(item.url))
            ticked.append(item);
    }
    // A dry run goes through every guard too; it only stops short of changing anything.
    startJob(JobKind::removal,
             [this, target, ticked, dryRun = isDryRun()](const CancellationToken& cancellation,
                                                         const MainThreadPost& post) {
                 AppRemover remover;
                 remover.setDryRun(dryRun);
                 const AppRemovalOutcome outcome = remover.remove(target, ticked, cancellation);
                 post([this, target, outcome, dryRun] {
                     QString message;
                     if (outcome.appMethod)
                         message = (dryRun ? QStringLiteral("Dry run: would remove %1 and %2 (%3)")
                                           : QStringLiteral("Removed %1 and %2, freed %3"))
                                       .arg(target.name, itemsWord(outcome.trashedData.size()),
                                            formatBytes(outcome.freedBytes));
                     finishAction(outcome, message);
                 });
             });
}

void AppsModel::removeLeftovers(const QStringList& urls) {
    QList<AppDataItem> items;
    for (const OrphanedAppData& orphan : inventory_.orphans) {
        for (const AppDataItem& item : orphan.items) {
            if (urls.contains(item.url))
                items.append(item);
        }
    }
    if (items.isEmpty() || !beginRemoval())
        return;
    startJob(JobKind::removal, [this, items, dryRun = isDryRun()](const CancellationToken&,
                                                                  const MainThreadPost& post) {
        AppRemover remover;
        remover.setDryRun(dryRun);
        const AppRemovalOutcome outcome = remover.removeLeftovers(items);
        post([this, outcome, dryRun] {
            QString message;
            if (!outcome.trashedData.isEmpty())
                message =
                    (dryRun
                         ? QStringLiteral("Dry run: would move %1 (%2) to the Trash")
                         : QStringLiteral("Moved %1 to the Trash, freeing %2 once it is emptied"))
                        .arg(itemsWord(outcome.trashedData.size()),
                             formatBytes(outcome.freedBytes));
            finishAction(outcome, message);
        });
    });
}

void AppsModel::finishAction(const AppRemovalOutcome& outcome, const QString& message) {
    lastOutcome_ = outcome;
    lastMessage_ = message;
    if (!message.isEmpty())
        toasts().post(message + (outcome.cleanup.notice.isEmpty() ? QString()
                                                                  : u'\n' + outcome.cleanup.notice),
                      isDryRun() ? ToastStyle::info : ToastStyle::success,
                      putBackOffer(outcome.cleanup));
    QList<ItemFailure> failures;
    for (const QString& failure : outcome.failures)
        failures.append({failure, failure, failure});
    finishRemoval(failures);
    emit actionFinished();
    if (!isDryRun())
        reload();
}

} // namespace corvane
