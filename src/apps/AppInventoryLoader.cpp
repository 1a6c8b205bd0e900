#include "apps/AppInventoryLoader.h"

#include "apps/AppFinder.h"
#include "apps/AppSignature.h"
#include "apps/FlatpakApps.h"
#include "apps/InstalledBundles.h"
#include "apps/LibraryMatcher.h"
#include "apps/LinuxApps.h"
#include "apps/LinuxLeftovers.h"
#include "platform/Locations.h"
#include "platform/NameOrder.h"
#include "platform/SizeCalculator.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace corvane {

namespace {

OrphanedAppData measuredLeftover(const LibraryMatcher::Leftover& leftover,
                                 const CancellationToken& cancellation) {
    return {leftover.identifier, measured(leftover.matches, cancellation),
            leftover.unreadableBundle, std::nullopt};
}

InstalledApp flatpakApp(const FlatpakApp& flatpak, const CancellationToken& cancellation) {
    InstalledApp app;
    app.url = FlatpakApps::appFolder(flatpak);
    app.name = flatpak.name;
    app.bundleIdentifier = flatpak.id;
    if (!flatpak.version.isEmpty())
        app.version = flatpak.version;
    app.flatpakInstallation = flatpak.installation;
    app.sizeBytes = SizeCalculator::size(app.url, cancellation);
    // The sandbox's whole home: config, data and cache of the one app.
    const QString data = FlatpakApps::dataFolder(flatpak.id);
    if (QFileInfo::exists(data))
        app.data = measured({{AppDataItem::Kind::applicationSupport, data, true}}, cancellation);
    return app;
}

// Flatpak apps with their "~/.var/app" folders, and the folders of apps flatpak says are gone:
// an id its list leaves out is a candidate, and a leftover once `flatpak info` says it is not
// installed. Without a list flatpak vouches for, no folder is a leftover and the reason is shown.
void addFlatpaks(AppInventory& inventory, const ProcessRunner& runner,
                 const CancellationToken& cancellation) {
    const std::optional<FlatpakListing> listing = FlatpakApps::list(runner, cancellation);
    if (!listing)
        return;
    if (listing->error) {
        inventory.errors.append(*listing->error);
        return;
    }
    QSet<QString> installed;
    for (const FlatpakApp& flatpak : listing->apps) {
        cancellation.throwIfCancelled();
        installed.insert(flatpak.id);
        inventory.apps.append(flatpakApp(flatpak, cancellation));
    }
    const QDir dataRoot(FlatpakApps::dataRoot());
    // Flatpak ids are case-sensitive, unlike bundle identifiers.
    const QStringList folders = dataRoot.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& id : folders) {
        if (installed.contains(id) || !FlatpakApps::isAppId(id) ||
            LibraryMatcher::isSystemIdentifier(id))
            continue;
        const InstallCheck check = FlatpakApps::check(id, runner, cancellation);
        if (!check.isGone()) {
            if (!check.reason.isEmpty())
                inventory.errors.append(id + QStringLiteral(" stays: ") + check.reason);
            continue;
        }
        inventory.orphans.append(
            {id,
             measured({{AppDataItem::Kind::applicationSupport, dataRoot.filePath(id), true}},
                      cancellation),
             std::nullopt, AppGone{AppGone::Witness::flatpak, {}, std::nullopt}});
    }
}

// The desktop's own apps, and the data of those that are gone.
void addLinuxApps(AppInventory& inventory, const ProcessRunner& runner,
                  const CancellationToken& cancellation) {
    const std::optional<SnapListing> snaps = SnapApps::list(runner, cancellation);
    if (snaps && snaps->error)
        inventory.errors.append(*snaps->error);
    // Read once: the apps are listed from them, and no folder they name is a leftover.
    const QList<DesktopEntry> entries = LinuxApps::entries(&inventory.errors);
    const QList<InstalledApp> apps = LinuxApps::find(entries, snaps, cancellation);
    inventory.apps.append(apps);
    const LinuxLeftovers::Found leftovers = LinuxLeftovers::find(
        apps, snaps, LinuxApps::claimedFolders(entries, snaps), SeenApps(), runner, cancellation);
    inventory.orphans.append(leftovers.orphans);
    inventory.errors.append(leftovers.errors);
}

} // namespace

AppInventory AppInventoryLoader::load(const CaskMap& casks, const CancellationToken& cancellation,
                                      const ProcessRunner& runner) {
    AppInventory inventory;
    const LibraryListing library = LibraryListing::read(Locations::libraryDir());
    const QStringList bundles = AppFinder::findBundles(cancellation);

    for (const QString& bundle : bundles) {
        cancellation.throwIfCancelled();
        QString problem;
        std::optional<InstalledApp> app = AppBundle::read(bundle, casks, &problem);
        if (!app) {
            if (!problem.isEmpty())
                inventory.errors.append(problem);
            continue;
        }
        app->teamIdentifier = AppSignature::teamIdentifier(bundle);
        app->lastUsedAt = AppSignature::lastUsedAt(bundle);
        app->sizeBytes = SizeCalculator::size(bundle, cancellation);
        app->data = measured(LibraryMatcher::matchesFor(library, app->bundleIdentifier, app->name,
                                                        app->teamIdentifier),
                             cancellation);
        inventory.apps.append(*app);
    }

    const InstalledSet installed = InstalledBundles::read(bundles, cancellation);
    for (const LibraryMatcher::Leftover& leftover : LibraryMatcher::leftovers(library, installed))
        (leftover.unreadableBundle ? inventory.unknownData : inventory.orphans)
            .append(measuredLeftover(leftover, cancellation));

    addFlatpaks(inventory, runner, cancellation);
    if (!Locations::isMac())
        addLinuxApps(inventory, runner, cancellation);
    sort(inventory);
    return inventory;
}

void AppInventoryLoader::sort(AppInventory& inventory) {
    std::stable_sort(inventory.apps.begin(), inventory.apps.end(),
                     [](const InstalledApp& a, const InstalledApp& b) {
                         const qint64 left = a.sizeBytes + a.dataBytes();
                         const qint64 right = b.sizeBytes + b.dataBytes();
                         if (left != right)
                             return left > right;
                         return NameOrder::less(a.name, b.name);
                     });
    std::stable_sort(inventory.orphans.begin(), inventory.orphans.end(),
                     [](const OrphanedAppData& a, const OrphanedAppData& b) {
                         if (a.sizeBytes() != b.sizeBytes())
                             return a.sizeBytes() > b.sizeBytes();
                         return NameOrder::less(a.bundleIdentifier, b.bundleIdentifier);
                     });
}

} // namespace corvane
