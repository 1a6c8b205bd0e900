#pragma once

#include "apps/AppTypes.h"
#include "apps/BrewService.h"
#include "platform/Cancellation.h"
#include "platform/CleanupHistory.h"
#include "platform/PlatformTrash.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace corvane {

// Removes an app (through Homebrew for a cask, Flatpak for a Flatpak app, else the Trash) and
// the Library data the user ticked, and leftover data of apps that are gone. It never takes what
// is not the app's: Apple's apps, running apps, apps outside the Applications folders and data
// outside the Library or not exactly the app's stay. Blocking; never throws.
class AppRemover {
public:
    using RunningCheck = std::function<bool(const InstalledApp&)>;

    static inline const QString appleText =
        QStringLiteral("Apple's apps are part of macOS and stay.");
    static inline const QString outsideApplicationsText =
        QStringLiteral("Only apps in Applications folders can be removed here.");
    static inline const QString outsideLibraryText =
        QStringLiteral("Only data inside your Library can be removed here.");

    // What the cleanup history calls app removals.
    static inline const QString cleanupArea = QStringLiteral("apps");

    // What goes to the Trash is recorded in `history` as one cleanup per call.
    explicit AppRemover(BrewService brew = BrewService(),
                        const PlatformTrash& trash = PlatformTrash::system(),
                        RunningCheck isRunning = {}, CleanupHistory history = CleanupHistory());

    // The folders whose apps may be removed: the Applications folder, its subfolders, and
    // ~/Applications, each with links resolved.
    static QStringList applicationsFolders();

    // Why `app` must stay, or nothing when it may go.
    std::optional<QString> appRefusal(const InstalledApp& app) const;
    // Why `item` must stay as data of `app` ("<item>: ..."), or nothing.
    std::optional<QString> dataRefusal(const InstalledApp& app, const AppDataItem& item) const;

    // Removes `app`, then `tickedData` if the app went.
    AppRemovalOutcome remove(const InstalledApp& app, const QList<AppDataItem>& tickedData,
                             const CancellationToken& cancellation = {}) const;
    // Moves data whose app is gone to the Trash; only the Library guard applies.
    AppRemovalOutcome removeLeftovers(const QList<AppDataItem>& items) const;

    // What a failure line calls an item: its file name.
    static QString itemName(const AppDataItem& item);

private:
    bool removeApp(const InstalledApp& app, AppRemovalOutcome& outcome, QList<CleanupItem>& trashed,
                   const CancellationToken& cancellation) const;
    void trashData(const AppDataItem& item, AppRemovalOutcome& outcome,
                   QList<CleanupItem>& trashed) const;

    BrewService brew_;
    const PlatformTrash& trash_;
    RunningCheck isRunning_;
    CleanupHistory history_;
};

} // namespace corvane
