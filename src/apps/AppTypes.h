#pragma once

// The vocabulary of installed apps: each app with the data it keeps in the user's Library, the
// data of apps that are gone, what a removal did, and Homebrew's outdated packages.

#include "platform/CleanupHistory.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// The path of a bundle a Homebrew cask installed (as the cask's record gives it) → the cask's
// token.
using CaskMap = QHash<QString, QString>;

// Who installed an app. On Linux: the system's package manager, Snap or an AppImage; a Flatpak
// app is `other` with its installation; `other` with a desktop entry was installed by hand.
enum class AppSource { appStore, homebrew, apple, other, packageManager, snap, appImage };

// "appStore", "homebrew", "apple", "other", "packageManager", "snap", "appImage".
QString caseName(AppSource source);

struct AppDataItem {
    // Declaration order is the display order.
    enum class Kind {
        applicationSupport,
        caches,
        containers,
        groupContainers,
        preferences,
        savedState,
        logs,
        httpStorages,
        webKit,
        launchAgents,
        // The XDG homes of Linux (caches go to `caches`): "~/.config", "~/.local/share" (and a
        // snap's "~/snap/<name>"), "~/.local/state".
        config,
        data,
        state
    };

    Kind kind = Kind::applicationSupport;
    QString url;
    qint64 sizeBytes = 0;
    // Named exactly after the app's bundle identifier; otherwise only "possibly related".
    bool isExactMatch = false;

    bool operator==(const AppDataItem&) const = default;
};

const QList<AppDataItem::Kind>& allAppDataKinds();
// The folder under the user's Library where items of `kind` live ("Application Support", ...).
QString libraryFolder(AppDataItem::Kind kind);
// What the user sees ("Application Support", "Container", "Saved window state", ...).
QString label(AppDataItem::Kind kind);
// "applicationSupport", "caches", ...
QString caseName(AppDataItem::Kind kind);

struct InstalledApp {
    // The app bundle (or, for a Flatpak app on Linux, its installation's app folder).
    QString url;
    QString name;
    std::optional<QString> bundleIdentifier;
    std::optional<QString> version;
    std::optional<QString> teamIdentifier;
    AppSource source = AppSource::other;
    // The Homebrew cask that installed it.
    std::optional<QString> caskToken;
    // The Flatpak installation ("user" or "system") of a Flatpak app.
    std::optional<QString> flatpakInstallation;
    // On Linux: the ".desktop" entry the app was found by, and the icon name it gives.
    std::optional<QString> desktopEntry;
    std::optional<QString> iconName;
    // On Linux: the names its data is found by (desktop file id, StartupWMClass, program, snap).
    QStringList identities;
    qint64 sizeBytes = 0;
    std::optional<QDateTime> lastUsedAt;
    QList<AppDataItem> data;

    qint64 dataBytes() const;
    bool operator==(const InstalledApp&) const = default;
};

// Who said that a Linux app is gone: the app's own tool, or this system's record of the apps it
// listed before (the app's entry and program are no longer there).
struct AppGone {
    enum class Witness { flatpak, snap, seenBefore };

    Witness witness = Witness::seenBefore;
    // The app's name as it was listed; empty when only its tool knew it.
    QString appName;
    // When it was last listed (seenBefore).
    std::optional<QDateTime> lastSeen;

    bool operator==(const AppGone&) const = default;
};

// "flatpak", "snap", "seenBefore".
QString caseName(AppGone::Witness witness);

// Data whose app is not installed, under one identifier.
struct OrphanedAppData {
    QString bundleIdentifier;
    QList<AppDataItem> items;
    // An installed bundle that could not be read and may own this data: then the data is
    // unknown, never a leftover.
    std::optional<QString> unreadableBundle;
    // On Linux, how it is known that the app is gone, and what the app was called.
    std::optional<AppGone> gone;

    qint64 sizeBytes() const;
    bool operator==(const OrphanedAppData&) const = default;
};

struct AppInventory {
    // Sorted by app and data together, largest first.
    QList<InstalledApp> apps;
    QList<OrphanedAppData> orphans;
    // Data that may belong to an installed bundle that could not be read: neither listed with an
    // app nor offered as a leftover.
    QList<OrphanedAppData> unknownData;
    // What could not be found out, one message each ("flatpak list failed: ...").
    QStringList errors;

    bool operator==(const AppInventory&) const = default;
};

struct AppRemovalOutcome {
    enum class Method { trash, homebrew, flatpak, snap };

    // How the app itself went; absent when only data was removed or the app stayed.
    std::optional<Method> appMethod;
    QList<AppDataItem> trashedData;
    qint64 freedBytes = 0;
    // One message per item that could not be removed.
    QStringList failures;
    // A command the user must run in Terminal (Homebrew needs the Mac password).
    std::optional<QString> terminalCommand;
    // Where the cleanup history keeps what went to the Trash, for putting it back.
    RecordedCleanup cleanup;

    bool operator==(const AppRemovalOutcome&) const = default;
};

// "trash", "homebrew", "flatpak", "snap".
QString caseName(AppRemovalOutcome::Method method);

struct BrewOutdatedItem {
    enum class Kind { formula, cask };

    Kind kind = Kind::formula;
    QString name;
    // The last of "installed_versions".
    QString installedVersion;
    QString currentVersion;
    bool isPinned = false;

    bool operator==(const BrewOutdatedItem&) const = default;
};

} // namespace corvane
