#pragma once

#include "apps/AppTypes.h"
#include "apps/BrewService.h"
#include "apps/FlatpakApps.h"
#include "apps/LibraryMatcher.h"
#include "apps/LinuxLeftovers.h"
#include "platform/Cancellation.h"
#include "platform/CleanupHistory.h"
#include "platform/PlatformTrash.h"
#include "platform/PlatformWords.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace corvane {

// Removes an app (through Homebrew for a cask, Flatpak for a Flatpak app, snap for a snap when it
// runs as root, else the Trash) and the Library data the user ticked, and leftover data of apps
// that are gone. A package of the system's package manager, and a snap without root's rights, are
// never removed here: the outcome names the command that does it (`terminalCommand`), and their
// data stays until they are gone; it is then offered as a leftover. It never takes what
// is not the app's: Apple's apps, running apps, apps outside the Applications folders, data
// outside the Library or not exactly the app's, and data another installed app uses (judged from
// the apps installed at the moment of the removal) stay. In a dry run every guard runs and the
// outcome says what a real run would do; nothing is run, moved or recorded. Blocking; never
// throws.
class AppRemover {
public:
    using RunningCheck = std::function<bool(const InstalledApp&)>;

    static inline const QString appleText =
        QStringLiteral("Apple's apps are part of macOS and stay.");
    static inline const QString outsideApplicationsText =
        QStringLiteral("Only apps in Applications folders can be removed here.");
    static inline const QString outsideLibraryText = QStringLiteral("Only data inside ") +
                                                     PlatformWords::here().appDataPlace +
                                                     QStringLiteral(" can be removed here.");

    // What the cleanup history calls app removals.
    static inline const QString cleanupArea = QStringLiteral("apps");

    // What goes to the Trash is recorded in `history` as one cleanup per call.
    // `runner` starts flatpak, snap, dpkg, rpm and lsof.
    explicit AppRemover(BrewService brew = BrewService(),
                        const PlatformTrash& trash = PlatformTrash::system(),
                        RunningCheck isRunning = {}, CleanupHistory history = CleanupHistory(),
                        const ProcessRunner& runner = ProcessRunner::system());

    void setDryRun(bool on) { dryRun_ = on; }
    bool isDryRun() const { return dryRun_; }
    // Whether this process has root's rights, which `snap remove` needs; it is never asked for a
    // password. The effective user's, unless set.
    void setActsAsRoot(bool on) { actsAsRoot_ = on; }

    // Apps only their owner removes, with a command the user runs: packages of the system's
    // package manager, and snaps when this process is not root.
    bool isRemovedByCommand(const InstalledApp& app) const;

    // The folders whose apps may be removed: every folder the app search goes through (the
    // Applications folders at any depth, linked subfolders too), each with links resolved.
    static QStringList applicationsFolders();

    // Why `app` must stay, or nothing when it may go. A Flatpak app is running when `flatpak ps`
    // lists it; when flatpak cannot say, it stays.
    std::optional<QString> appRefusal(const InstalledApp& app) const;
    // Why `item` must stay as data of `app` ("<item>: ..."), or nothing. `others` are the apps
    // installed besides `app`; data one of them uses, or an unreadable one may own, stays.
    std::optional<QString> dataRefusal(const InstalledApp& app, const AppDataItem& item,
                                       const InstalledSet& others = {}) const;

    // Removes `app`, then `tickedData` if the app went.
    AppRemovalOutcome remove(const InstalledApp& app, const QList<AppDataItem>& tickedData,
                             const CancellationToken& cancellation = {}) const;
    // Moves data whose app is gone to the Trash, once it is judged again against what is
    // installed now: for "~/.var/app" and "~/snap" what flatpak and snap say now, for the XDG
    // homes the record of apps seen (LinuxLeftovers).
    AppRemovalOutcome removeLeftovers(const QList<AppDataItem>& items) const;

    // What a failure line calls an item: its file name.
    static QString itemName(const AppDataItem& item);

private:
    bool removeApp(const InstalledApp& app, AppRemovalOutcome& outcome, QList<CleanupItem>& trashed,
                   const CancellationToken& cancellation) const;
    bool uninstallCask(const InstalledApp& app, AppRemovalOutcome& outcome,
                       const CancellationToken& cancellation) const;
    bool uninstallFlatpak(const InstalledApp& app, AppRemovalOutcome& outcome,
                          const CancellationToken& cancellation) const;
    bool uninstallSnap(const InstalledApp& app, AppRemovalOutcome& outcome,
                       const CancellationToken& cancellation) const;
    bool uninstallWith(const InstalledApp& app, const QString& tool, const QStringList& arguments,
                       AppRemovalOutcome& outcome, const CancellationToken& cancellation) const;
    void nameCommand(const InstalledApp& app, AppRemovalOutcome& outcome,
                     const CancellationToken& cancellation) const;
    std::optional<QString> inUse(const AppDataItem& item) const;
    std::optional<QString> leftoverRefusal(const AppDataItem& item, const InstalledSet& installed,
                                           LinuxLeftovers::Judge& leftovers) const;
    void trashEntry(const InstalledApp& app, QList<CleanupItem>& trashed) const;
    void trashData(const AppDataItem& item, const QString& root, AppRemovalOutcome& outcome,
                   QList<CleanupItem>& trashed) const;

    BrewService brew_;
    const PlatformTrash& trash_;
    RunningCheck isRunning_;
    CleanupHistory history_;
    const ProcessRunner& runner_;
    bool dryRun_ = false;
    bool actsAsRoot_;
};

} // namespace corvane
