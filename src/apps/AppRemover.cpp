#include "apps/AppRemover.h"

#include "apps/AppFinder.h"
#include "apps/InstalledBundles.h"
#include "apps/LinuxApps.h"
#include "apps/LinuxLeftovers.h"
#include "apps/RunningApps.h"
#include "apps/SnapApps.h"
#include "apps/SystemPackages.h"
#include "platform/Locations.h"
#include "platform/OpenFileGuard.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"
#include "platform/ProcessRunner.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QFileInfo>
#include <unistd.h>

namespace corvane {
namespace {

// Strictly inside `folder`, links resolved: the folder itself is never an item.
bool isWithin(const QString& path, const QString& folder) {
    return PathIdentity::isInside(path, folder) && !PathIdentity::same(path, folder);
}

// A Flatpak app's data folder: directly in "~/.var/app".
bool isFlatpakData(const AppDataItem& item) {
    return PathIdentity::same(Paths::parentPath(Paths::absoluteStandardized(item.url)),
                              FlatpakApps::dataRoot());
}

// A snap's data folder: directly in "~/snap".
bool isSnapData(const AppDataItem& item) {
    return PathIdentity::same(Paths::parentPath(Paths::absoluteStandardized(item.url)),
                              SnapApps::dataRoot());
}

// The identifier an item of the Library is named after, if it is named after one.
std::optional<QString> identifierOfItem(const AppDataItem& item) {
    const QFileInfo info(item.url);
    const bool inByHost = info.dir().dirName() == QLatin1String("ByHost");
    return LibraryMatcher::identifierOf(item.kind, info.fileName(), inByHost);
}

// The folder an item of data is trashed inside: its XDG home, "~/.var/app" or the Library.
QString dataRootOf(const AppDataItem& item) {
    if (const std::optional<QString> root = LinuxApps::dataRootOf(item))
        return *root;
    return isFlatpakData(item) ? FlatpakApps::dataRoot() : Locations::libraryDir();
}

// An app put on the desktop by hand: only the user knows what else it installed.
std::optional<QString> byHandRefusal(const InstalledApp& app) {
    if (app.source == AppSource::other && app.desktopEntry && !app.flatpakInstallation)
        return app.name + QStringLiteral(" was installed by hand; remove it where it was "
                                         "installed.");
    return std::nullopt;
}

// What the app's own tool said about it, as a reason for its data to stay; nothing when gone.
std::optional<QString> stillInstalled(const QString& prefix, const QString& tool,
                                      const InstallCheck& check) {
    if (check.isGone())
        return std::nullopt;
    if (check.is == InstallCheck::Case::installed)
        return prefix +
               QStringLiteral("%1 says the app is installed, so its data stays.").arg(tool);
    return prefix + check.reason;
}

std::optional<QString> ownershipRefusal(const QString& prefix, const Ownership& owner) {
    switch (owner.is) {
    case Ownership::Case::installed:
        return prefix + QStringLiteral("%1 is installed and uses this data.").arg(owner.bundle);
    case Ownership::Case::unknown:
        return prefix +
               QStringLiteral("%1 could not be read, so this may be its data.").arg(owner.bundle);
    case Ownership::Case::leftover:
        break;
    }
    return std::nullopt;
}

} // namespace

AppRemover::AppRemover(BrewService brew, const PlatformTrash& trash, RunningCheck isRunning,
                       CleanupHistory history, const ProcessRunner& runner)
    : brew_(std::move(brew))
    , trash_(trash)
    , isRunning_(isRunning ? std::move(isRunning) : RunningCheck(&RunningApps::isRunning))
    , history_(std::move(history))
    , runner_(runner)
    , actsAsRoot_(::geteuid() == 0) {}

bool AppRemover::isRemovedByCommand(const InstalledApp& app) const {
    return app.source == AppSource::packageManager ||
           (app.source == AppSource::snap && !actsAsRoot_);
}

QStringList AppRemover::applicationsFolders() {
    return AppFinder::search().folders;
}

std::optional<QString> AppRemover::appRefusal(const InstalledApp& app) const {
    if (app.source == AppSource::apple)
        return appleText;
    // Whoever takes the app (the Trash, Homebrew or Flatpak), a kept app stays.
    if (const std::optional<QString> kept = TrashService::keepRefusal(app.url))
        return app.name + QStringLiteral(": ") + *kept;
    // Nothing runs for these: the removal only names the command.
    if (isRemovedByCommand(app))
        return std::nullopt;
    const QString runningText = app.name + QStringLiteral(" is running. Quit it first.");
    if (app.flatpakInstallation) {
        // Flatpak keeps its apps in its own installation folders; its sandbox hides their
        // processes from a look at their executables.
        const FlatpakListing running = FlatpakApps::running(runner_);
        if (running.error)
            return QStringLiteral("%1 stays: it could not be told whether it is running (%2).")
                .arg(app.name, *running.error);
        for (const FlatpakApp& instance : running.apps)
            if (app.bundleIdentifier && instance.id == *app.bundleIdentifier)
                return runningText;
        return std::nullopt;
    }
    if (const std::optional<QString> byHand = byHandRefusal(app))
        return byHand;
    if (isRunning_(app))
        return runningText;
    // snapd keeps its snaps in its own folders.
    if (app.source == AppSource::snap)
        return std::nullopt;
    const QString parent = Paths::parentPath(PathIdentity::resolved(app.url));
    const QStringList folders =
        app.source == AppSource::appImage ? LinuxApps::appImageFolders() : applicationsFolders();
    const bool inApplications =
        std::any_of(folders.cbegin(), folders.cend(),
                    [&](const QString& f) { return PathIdentity::same(f, parent); });
    if (!inApplications)
        return outsideApplicationsText;
    return std::nullopt;
}

std::optional<QString> AppRemover::dataRefusal(const InstalledApp& app, const AppDataItem& item,
                                               const InstalledSet& others) const {
    const QString prefix = itemName(item) + QStringLiteral(": ");
    const bool ownFlatpakData =
        app.flatpakInstallation && app.bundleIdentifier &&
        PathIdentity::same(item.url, FlatpakApps::dataFolder(*app.bundleIdentifier)) &&
        isWithin(item.url, FlatpakApps::dataRoot());
    const bool linuxApp = app.desktopEntry || app.source == AppSource::appImage ||
                          app.source == AppSource::snap || app.source == AppSource::packageManager;
    const bool ownLinuxData = linuxApp && LinuxApps::dataRootOf(item).has_value();
    if (!ownFlatpakData && !ownLinuxData && !isWithin(item.url, Locations::libraryDir()))
        return prefix + outsideLibraryText;
    if (!item.isExactMatch)
        return prefix + QStringLiteral("Only exact matches for %1 can be removed.").arg(app.name);
    const bool belongs = std::any_of(app.data.cbegin(), app.data.cend(),
                                     [&](const AppDataItem& own) { return own.url == item.url; });
    if (!belongs)
        return prefix + QStringLiteral("This data does not belong to ") + app.name;
    if (ownFlatpakData || ownLinuxData)
        return std::nullopt;
    // Another copy of the app, or an app whose helper has the identifier, still uses it.
    const std::optional<QString> identifier = identifierOfItem(item);
    const std::optional<QString> named = identifier ? identifier : app.bundleIdentifier;
    if (named)
        return ownershipRefusal(prefix, LibraryMatcher::ownerOf(*named, item.kind, others, false));
    return std::nullopt;
}

AppRemovalOutcome AppRemover::remove(const InstalledApp& app, const QList<AppDataItem>& tickedData,
                                     const CancellationToken& cancellation) const {
    AppRemovalOutcome outcome;
    if (isRemovedByCommand(app)) {
        nameCommand(app, outcome, cancellation);
        return outcome;
    }
    if (const std::optional<QString> refusal = appRefusal(app)) {
        outcome.failures.append(*refusal);
        return outcome;
    }
    // What else is installed, read before the app goes, without the app and its helpers.
    const InstalledSet others = app.flatpakInstallation
                                    ? InstalledSet()
                                    : InstalledBundles::current(cancellation).without(app.url);
    QList<CleanupItem> trashed;
    if (!removeApp(app, outcome, trashed, cancellation))
        return outcome;
    outcome.freedBytes += app.sizeBytes;
    for (const AppDataItem& item : tickedData) {
        if (const std::optional<QString> refusal = dataRefusal(app, item, others))
            outcome.failures.append(*refusal);
        else
            trashData(item, dataRootOf(item), outcome, trashed);
    }
    if (!dryRun_)
        outcome.cleanup = history_.record(cleanupArea, trashed);
    return outcome;
}

std::optional<QString> AppRemover::leftoverRefusal(const AppDataItem& item,
                                                   const InstalledSet& installed,
                                                   LinuxLeftovers::Judge& leftovers) const {
    const QString prefix = itemName(item) + QStringLiteral(": ");
    if (isFlatpakData(item))
        return stillInstalled(prefix, QStringLiteral("flatpak"),
                              FlatpakApps::check(itemName(item), runner_));
    if (isSnapData(item))
        return stillInstalled(prefix, QStringLiteral("snap"),
                              SnapApps::check(itemName(item), runner_));
    if (LinuxApps::dataRootOf(item)) {
        if (const std::optional<QString> refusal = leftovers.refusal(item.url))
            return prefix + *refusal;
        return std::nullopt;
    }
    if (!isWithin(item.url, Locations::libraryDir()))
        return prefix + outsideLibraryText;
    const std::optional<QString> identifier = identifierOfItem(item);
    if (!identifier || LibraryMatcher::isSystemIdentifier(*identifier))
        return prefix + QStringLiteral("Not named after an app that is gone, so it stays.");
    return ownershipRefusal(prefix, LibraryMatcher::ownerOf(*identifier, item.kind, installed));
}

AppRemovalOutcome AppRemover::removeLeftovers(const QList<AppDataItem>& items) const {
    AppRemovalOutcome outcome;
    const InstalledSet installed = InstalledBundles::current();
    const SeenApps seen;
    LinuxLeftovers::Judge leftovers(seen, runner_);
    QList<CleanupItem> trashed;
    for (const AppDataItem& item : items) {
        if (const std::optional<QString> refusal = leftoverRefusal(item, installed, leftovers))
            outcome.failures.append(*refusal);
        else
            trashData(item, dataRootOf(item), outcome, trashed);
    }
    if (!dryRun_)
        outcome.cleanup = history_.record(cleanupArea, trashed);
    return outcome;
}

QString AppRemover::itemName(const AppDataItem& item) {
    return QFileInfo(item.url).fileName();
}

bool AppRemover::uninstallCask(const InstalledApp& app, AppRemovalOutcome& outcome,
                               const CancellationToken& cancellation) const {
    const QString leftAlone =
        app.name + QStringLiteral(" could not be removed. Its data was left alone.");
    if (dryRun_) {
        if (BrewService::locate() && BrewService::isCaskToken(*app.caskToken))
            return true;
        outcome.failures.append(leftAlone);
        return false;
    }
    try {
        brew_.uninstallCask(*app.caskToken, cancellation);
        return true;
    } catch (const BrewError& error) {
        if (error.kind() == BrewError::Case::needsPassword) {
            outcome.terminalCommand = error.text();
            const PlatformWords& words = PlatformWords::here();
            outcome.failures.append(
                app.name +
                QStringLiteral(" needs %1. Run it in %2: ").arg(words.password, words.terminal) +
                error.text());
        } else {
            outcome.failures.append(leftAlone);
        }
        return false;
    }
}

namespace {

// Runs an app's own tool to remove it; nothing when it succeeded, else what it said.
std::optional<QString> runOwner(const ProcessRunner& runner, const QString& tool,
                                const QStringList& arguments,
                                const CancellationToken& cancellation) {
    const QString name = QFileInfo(tool).fileName();
    const auto answer = runner.attempt(name, tool, arguments, 600, cancellation);
    if (const QString* problem = std::get_if<QString>(&answer))
        return *problem;
    const ProcessResult& result = std::get<ProcessResult>(answer);
    if (result.exitCode == 0)
        return std::nullopt;
    // Its last line says why, after what it did on the way.
    const QString said =
        QString::fromUtf8(result.standardError).trimmed().section(u'\n', -1).left(200);
    return said.isEmpty() ? QStringLiteral("%1 exited with %2").arg(name).arg(result.exitCode)
                          : name + QStringLiteral(" said: ") + said;
}

QString leftAloneText(const InstalledApp& app, const QString& why) {
    return QStringLiteral("%1 could not be removed (%2). Its data was left alone.")
        .arg(app.name, why);
}

} // namespace

bool AppRemover::uninstallFlatpak(const InstalledApp& app, AppRemovalOutcome& outcome,
                                  const CancellationToken& cancellation) const {
    if (!app.bundleIdentifier || !FlatpakApps::isAppId(*app.bundleIdentifier) ||
        !FlatpakApps::isInstalled()) {
        outcome.failures.append(leftAloneText(app, QStringLiteral("flatpak is not installed")));
        return false;
    }
    // Never --delete-data: the app's data goes to the Trash, where it can still be taken back.
    const QString scope = *app.flatpakInstallation == QLatin1String("system")
                              ? QStringLiteral("--system")
                              : QStringLiteral("--user");
    return uninstallWith(app, FlatpakApps::toolPath(),
                         {QStringLiteral("uninstall"), QStringLiteral("--noninteractive"), scope,
                          QStringLiteral("--"), *app.bundleIdentifier},
                         outcome, cancellation);
}

// Only as root: snapd would otherwise ask for a password through polkit.
bool AppRemover::uninstallSnap(const InstalledApp& app, AppRemovalOutcome& outcome,
                               const CancellationToken& cancellation) const {
    const QString name = app.bundleIdentifier.value_or(QString());
    if (!SnapApps::isName(name) || !SnapApps::isInstalled()) {
        outcome.failures.append(leftAloneText(app, QStringLiteral("snap is not installed")));
        return false;
    }
    return uninstallWith(app, SnapApps::toolPath(),
                         {QStringLiteral("remove"), QStringLiteral("--"), name}, outcome,
                         cancellation);
}

// The app's own tool removes it (nothing runs in a dry run); when it fails, the app's data is
// left alone.
bool AppRemover::uninstallWith(const InstalledApp& app, const QString& tool,
                               const QStringList& arguments, AppRemovalOutcome& outcome,
                               const CancellationToken& cancellation) const {
    if (dryRun_)
        return true;
    const std::optional<QString> problem = runOwner(runner_, tool, arguments, cancellation);
    if (problem)
        outcome.failures.append(leftAloneText(app, *problem));
    return !problem;
}

// A package, or a snap without root's rights: the command that removes it, looked up but never
// run. Its data stays while it is installed.
void AppRemover::nameCommand(const InstalledApp& app, AppRemovalOutcome& outcome,
                             const CancellationToken& cancellation) const {
    const PlatformWords& words = PlatformWords::here();
    if (app.source == AppSource::snap) {
        const QString command =
            QStringLiteral("sudo snap remove ") + app.bundleIdentifier.value_or(app.name);
        outcome.terminalCommand = command;
        outcome.failures.append(
            QStringLiteral("%1 is a Snap, which snapd removes with root's rights. Run in %2: %3")
                .arg(app.name, words.terminal, command));
        return;
    }
    const SystemPackages::Owner owner =
        app.desktopEntry ? SystemPackages::ownerOf(*app.desktopEntry, runner_, cancellation)
                         : SystemPackages::Owner{{}, {}, QStringLiteral("it has no menu entry")};
    if (!owner.command) {
        outcome.failures.append(
            QStringLiteral("%1 came with the system's package manager, which removes it, but its "
                           "package could not be found: %2.")
                .arg(app.name, owner.problem));
        return;
    }
    outcome.terminalCommand = *owner.command;
    outcome.failures.append(
        QStringLiteral("%1 came with the system's package manager (package %2), which removes "
                       "it. Run in %3: %4")
            .arg(app.name, *owner.package, words.terminal, *owner.command));
}

bool AppRemover::removeApp(const InstalledApp& app, AppRemovalOutcome& outcome,
                           QList<CleanupItem>& trashed,
                           const CancellationToken& cancellation) const {
    const QString leftAlone =
        app.name + QStringLiteral(" could not be removed. Its data was left alone.");
    if (app.caskToken) {
        if (!uninstallCask(app, outcome, cancellation))
            return false;
        outcome.appMethod = AppRemovalOutcome::Method::homebrew;
        return true;
    }
    if (app.flatpakInstallation) {
        if (!uninstallFlatpak(app, outcome, cancellation))
            return false;
        outcome.appMethod = AppRemovalOutcome::Method::flatpak;
        return true;
    }
    if (app.source == AppSource::snap) {
        if (!uninstallSnap(app, outcome, cancellation))
            return false;
        outcome.appMethod = AppRemovalOutcome::Method::snap;
        return true;
    }
    const QString resolved = PathIdentity::resolved(app.url);
    const QString parent = Paths::parentPath(resolved);
    if (dryRun_) {
        if (TrashService::refusal(resolved, parent)) {
            outcome.failures.append(leftAlone);
            return false;
        }
    } else {
        const TrashOutcome moved = TrashService::trash({resolved}, parent, trash_);
        if (!moved.failures.isEmpty()) {
            outcome.failures.append(leftAlone);
            return false;
        }
        trashed.append(cleanupItems(moved, {{resolved, app.sizeBytes}}));
        trashEntry(app, trashed);
    }
    outcome.appMethod = AppRemovalOutcome::Method::trash;
    return true;
}

// An AppImage's own entry in the user's menus goes with it; it would start nothing any more.
void AppRemover::trashEntry(const InstalledApp& app, QList<CleanupItem>& trashed) const {
    const QString folder = LinuxApps::userEntryFolder();
    if (!app.desktopEntry || !isWithin(*app.desktopEntry, folder))
        return;
    const TrashOutcome moved = TrashService::trash({*app.desktopEntry}, folder, trash_);
    trashed.append(cleanupItems(moved, {{*app.desktopEntry, QFileInfo(*app.desktopEntry).size()}}));
}

// A program holding a file of the item open may still write to it, or lose what it writes.
std::optional<QString> AppRemover::inUse(const AppDataItem& item) const {
    const OpenFileGuard::Holders holders = OpenFileGuard::holders({item.url}, runner_);
    if (holders.error)
        return itemName(item) +
               QStringLiteral(": whether a program has it open could not be checked (%1), so it "
                              "stays.")
                   .arg(*holders.error);
    if (!holders.processNames.isEmpty())
        return itemName(item) + QStringLiteral(": %1 has it open. Quit it first.")
                                    .arg(holders.processNames.join(QStringLiteral(", ")));
    return std::nullopt;
}

void AppRemover::trashData(const AppDataItem& item, const QString& root, AppRemovalOutcome& outcome,
                           QList<CleanupItem>& trashed) const {
    const QString resolvedRoot = PathIdentity::resolved(root);
    if (const std::optional<QString> busy = inUse(item)) {
        outcome.failures.append(*busy);
        return;
    }
    std::optional<QString> message;
    if (dryRun_) {
        message = TrashService::refusal(item.url, resolvedRoot);
    } else {
        const TrashOutcome moved = TrashService::trash({item.url}, resolvedRoot, trash_);
        if (moved.failures.isEmpty())
            trashed.append(cleanupItems(moved, {{item.url, item.sizeBytes}}));
        else
            message = moved.failures.first().message;
    }
    if (!message) {
        outcome.trashedData.append(item);
        outcome.freedBytes += item.sizeBytes;
        return;
    }
    if (message->contains(QLatin1String("permission"), Qt::CaseInsensitive) ||
        message->contains(QLatin1String("not permitted"), Qt::CaseInsensitive))
        outcome.failures.append(PlatformWords::here().permissionRefused.arg(itemName(item)));
    else
        outcome.failures.append(itemName(item) + QStringLiteral(": ") + *message);
}

} // namespace corvane
