#include "apps/AppInventoryLoader.h"

#include "apps/AppFinder.h"
#include "apps/AppSignature.h"
#include "apps/FlatpakApps.h"
#include "apps/LibraryMatcher.h"
#include "platform/Locations.h"
#include "platform/SizeCalculator.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace corvane {

namespace {

QList<AppDataItem> measured(const QList<DataMatch>& matches,
                            const CancellationToken& cancellation) {
    QList<AppDataItem> items;
    for (const DataMatch& match : matches)
        items.append(
            {match.kind, match.path, SizeCalculator::size(match.path, cancellation), match.exact});
    return items;
}

} // namespace

AppInventory AppInventoryLoader::load(const CaskMap& casks, const CancellationToken& cancellation,
                                      const ProcessRunner& runner) {
    AppInventory inventory;
    const LibraryListing library = LibraryListing::read(Locations::libraryDir());
    QStringList installedIdentifiers;

    for (const QString& bundle : AppFinder::findBundles(cancellation)) {
        cancellation.throwIfCancelled();
        std::optional<InstalledApp> app = AppBundle::read(bundle, casks);
        if (!app)
            continue;
        app->teamIdentifier = AppSignature::teamIdentifier(bundle);
        app->lastUsedAt = AppSignature::lastUsedAt(bundle);
        app->sizeBytes = SizeCalculator::size(bundle, cancellation);
        app->data = measured(LibraryMatcher::matchesFor(library, app->bundleIdentifier, app->name,
                                                        app->teamIdentifier),
                             cancellation);
        if (app->bundleIdentifier)
            installedIdentifiers.append(*app->bundleIdentifier);
        inventory.apps.append(*app);
    }

    for (const LibraryMatcher::Leftover& leftover :
         LibraryMatcher::leftovers(library, installedIdentifiers))
        inventory.orphans.append({leftover.identifier, measured(leftover.matches, cancellation)});

    if (const std::optional<QList<FlatpakApp>> flatpaks = FlatpakApps::list(runner, cancellation)) {
        const QDir dataRoot(FlatpakApps::dataRoot());
        QSet<QString> installed;
        for (const FlatpakApp& flatpak : *flatpaks) {
            cancellation.throwIfCancelled();
            installed.insert(flatpak.id);
            InstalledApp app;
            app.url = FlatpakApps::appFolder(flatpak);
            app.name = flatpak.name;
            app.bundleIdentifier = flatpak.id;
            if (!flatpak.version.isEmpty())
                app.version = flatpak.version;
            app.flatpakInstallation = flatpak.installation;
            app.sizeBytes = SizeCalculator::size(app.url, cancellation);
            // The sandbox's whole home: config, data and cache of the one app.
            const QString data = dataRoot.filePath(flatpak.id);
            if (QFileInfo::exists(data))
                app.data =
                    measured({{AppDataItem::Kind::applicationSupport, data, true}}, cancellation);
            inventory.apps.append(app);
        }
        // Flatpak ids are case-sensitive, unlike bundle identifiers.
        const QStringList folders =
            dataRoot.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString& id : folders)
            if (!installed.contains(id) && !LibraryMatcher::isSystemIdentifier(id))
                inventory.orphans.append({id, measured({{AppDataItem::Kind::applicationSupport,
                                                         dataRoot.filePath(id), true}},
                                                       cancellation)});
    }

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
                         return a.name.localeAwareCompare(b.name) < 0;
                     });
    std::stable_sort(inventory.orphans.begin(), inventory.orphans.end(),
                     [](const OrphanedAppData& a, const OrphanedAppData& b) {
                         if (a.sizeBytes() != b.sizeBytes())
                             return a.sizeBytes() > b.sizeBytes();
                         return a.bundleIdentifier < b.bundleIdentifier;
                     });
}

} // namespace corvane
