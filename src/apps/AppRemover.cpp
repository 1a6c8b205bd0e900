#include "apps/AppRemover.h"

#include "apps/RunningApps.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/ProcessRunner.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QFileInfo>

namespace corvane {
namespace {

bool isInside(const QString& path, const QString& folder) {
    return path != folder && Paths::isUnder(path, folder);
}

// The Library's own path with links resolved, so that a Library reached through a link still
// counts and a link inside it leading out does not.
QString resolvedLibrary() {
    return TrashService::canonicalPath(Locations::libraryDir());
}

} // namespace

AppRemover::AppRemover(BrewService brew, const PlatformTrash& trash, RunningCheck isRunning,
                       CleanupHistory history)
    : brew_(std::move(brew))
    , trash_(trash)
    , isRunning_(isRunning ? std::move(isRunning) : RunningCheck(&RunningApps::isRunning))
    , history_(std::move(history)) {}

QStringList AppRemover::applicationsFolders() {
    const QString applications = TrashService::canonicalPath(Locations::applicationsDir());
    QStringList folders{applications};
    const QFileInfoList subfolders =
        QDir(applications).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& folder : subfolders) {
        // "Utilities" and folders the user sorts apps into, but not the insides of a bundle.
        if (!folder.fileName().endsWith(QLatin1String(".app")))
            folders.append(TrashService::canonicalPath(folder.filePath()));
    }
    folders.append(
        TrashService::canonicalPath(Locations::homeDir() + QStringLiteral("/Applications")));
    folders.removeDuplicates();
    return folders;
}

std::optional<QString> AppRemover::appRefusal(const InstalledApp& app) const {
    if (app.source == AppSource::apple)
        return appleText;
    if (isRunning_(app))
        return app.name + QStringLiteral(" is running. Quit it first.");
    if (app.flatpakInstallation)
        return std::nullopt; // Flatpak keeps its apps in its own installation folders.
    const QString resolved = TrashService::canonicalPath(app.url);
    if (!applicationsFolders().contains(Paths::parentPath(resolved)))
        return outsideApplicationsText;
    return std::nullopt;
}

std::optional<QString> AppRemover::dataRefusal(const InstalledApp& app,
                                               const AppDataItem& item) const {
    const QString prefix = itemName(item) + QStringLiteral(": ");
    if (!isInside(TrashService::canonicalPath(item.url), resolvedLibrary()))
        return prefix + outsideLibraryText;
    if (!item.isExactMatch)
        return prefix + QStringLiteral("Only exact matches for %1 can be removed.").arg(app.name);
    const bool belongs = std::any_of(app.data.cbegin(), app.data.cend(),
                                     [&](const AppDataItem& own) { return own.url == item.url; });
    if (!belongs)
        return prefix + QStringLiteral("This data does not belong to ") + app.name;
    return std::nullopt;
}

AppRemovalOutcome AppRemover::remove(const InstalledApp& app, const QList<AppDataItem>& tickedData,
                                     const CancellationToken& cancellation) const {
    AppRemovalOutcome outcome;
    if (const std::optional<QString> refusal = appRefusal(app)) {
        outcome.failures.append(*refusal);
        return outcome;
    }
    QList<CleanupItem> trashed;
    if (!removeApp(app, outcome, trashed, cancellation))
        return outcome;
    outcome.freedBytes += app.sizeBytes;
    for (const AppDataItem& item : tickedData) {
        if (const std::optional<QString> refusal = dataRefusal(app, item))
            outcome.failures.append(*refusal);
        else
            trashData(item, outcome, trashed);
    }
    outcome.cleanup = history_.record(cleanupArea, trashed);
    return outcome;
}

AppRemovalOutcome AppRemover::removeLeftovers(const QList<AppDataItem>& items) const {
    AppRemovalOutcome outcome;
    const QString library = resolvedLibrary();
    QList<CleanupItem> trashed;
    for (const AppDataItem& item : items) {
        if (!isInside(TrashService::canonicalPath(item.url), library))
            outcome.failures.append(itemName(item) + QStringLiteral(": ") + outsideLibraryText);
        else
            trashData(item, outcome, trashed);
    }
    outcome.cleanup = history_.record(cleanupArea, trashed);
    return outcome;
}

QString AppRemover::itemName(const AppDataItem& item) {
    return QFileInfo(item.url).fileName();
}

bool AppRemover::removeApp(const InstalledApp& app, AppRemovalOutcome& outcome,
                           QList<CleanupItem>& trashed,
                           const CancellationToken& cancellation) const {
    const QString leftAlone =
        app.name + QStringLiteral(" could not be removed. Its data was left alone.");
    if (app.caskToken) {
        try {
            brew_.uninstallCask(*app.caskToken, cancellation);
        } catch (const BrewError& error) {
            if (error.kind() == BrewError::Case::needsPassword) {
                outcome.terminalCommand = error.text();
                outcome.failures.append(app.name +
                                        QStringLiteral(" needs your Mac password. Run it in "
                                                       "Terminal: ") +
                                        error.text());
            } else {
                outcome.failures.append(leftAlone);
            }
            return false;
        }
        outcome.appMethod = AppRemovalOutcome::Method::homebrew;
        return true;
    }
    if (app.flatpakInstallation) {
        // Never --delete-data: the app's data goes to the Trash, where it can still be taken back.
        const QString flatpak =
            Locations::toolPath(QStringLiteral("flatpak"), QStringLiteral("/usr/bin/flatpak"));
        const QString scope = *app.flatpakInstallation == QLatin1String("system")
                                  ? QStringLiteral("--system")
                                  : QStringLiteral("--user");
        bool removed = false;
        if (app.bundleIdentifier) {
            try {
                removed = ProcessRunner::system()
                              .run(flatpak,
                                   {QStringLiteral("uninstall"), QStringLiteral("--noninteractive"),
                                    scope, *app.bundleIdentifier},
                                   std::nullopt, {}, 600, cancellation)
                              .exitCode == 0;
            } catch (const ProcessRunnerError&) {
                removed = false;
            }
        }
        if (!removed) {
            outcome.failures.append(leftAlone);
            return false;
        }
        outcome.appMethod = AppRemovalOutcome::Method::flatpak;
        return true;
    }
    const QString resolved = TrashService::canonicalPath(app.url);
    const TrashOutcome moved = TrashService::trash({resolved}, Paths::parentPath(resolved), trash_);
    if (!moved.failures.isEmpty()) {
        outcome.failures.append(leftAlone);
        return false;
    }
    trashed.append(cleanupItems(moved, {{resolved, app.sizeBytes}}));
    outcome.appMethod = AppRemovalOutcome::Method::trash;
    return true;
}

void AppRemover::trashData(const AppDataItem& item, AppRemovalOutcome& outcome,
                           QList<CleanupItem>& trashed) const {
    const TrashOutcome moved = TrashService::trash({item.url}, resolvedLibrary(), trash_);
    if (moved.failures.isEmpty()) {
        trashed.append(cleanupItems(moved, {{item.url, item.sizeBytes}}));
        outcome.trashedData.append(item);
        outcome.freedBytes += item.sizeBytes;
        return;
    }
    const QString& message = moved.failures.first().message;
    if (message.contains(QLatin1String("permission"), Qt::CaseInsensitive) ||
        message.contains(QLatin1String("not permitted"), Qt::CaseInsensitive))
        outcome.failures.append(QStringLiteral("macOS needs your permission to remove %1: use "
                                               "Show in Finder and drag it to the Trash.")
                                    .arg(itemName(item)));
    else
        outcome.failures.append(itemName(item) + QStringLiteral(": ") + message);
}

} // namespace corvane
