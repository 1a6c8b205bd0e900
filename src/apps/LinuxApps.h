#pragma once

#include "apps/AppTypes.h"
#include "apps/DesktopEntry.h"
#include "apps/LibraryMatcher.h"
#include "apps/SnapApps.h"
#include "platform/Cancellation.h"

#include <QList>
#include <QStringList>

namespace corvane {

// The applications of a Linux desktop besides Flatpak's: the ".desktop" entries of the system and
// the user (package manager, Snap, AppImage or installed by hand) and the AppImages in the usual
// folders, each with the data it keeps in the XDG folders of the home. Data is matched only by
// the app's exact identities (desktop file id, StartupWMClass, the program's name, the snap's
// name): a folder in "~/.config" may belong to any command-line tool, so nothing is ever matched
// by a name that only looks like the app's.
struct LinuxApps {
    // "applications" under XDG_DATA_HOME, then under each of XDG_DATA_DIRS (by default
    // "/usr/local/share", "/usr/share", and where Flatpak and Snap export their entries).
    static QStringList entryFolders();
    // Every entry the menus show, each id once: the first folder wins, and a Hidden entry hides
    // the id in the folders after it. An entry that cannot be read adds a message naming it to
    // `problems`.
    static QList<DesktopEntry> entries(QStringList* problems = nullptr);
    // "~/Applications", "~/AppImages" and "~/.local/bin": where AppImages are kept.
    static QStringList appImageFolders();

    // The names an app's data is found by, each at most once; program names of interpreters and
    // launchers ("python3", "env", "flatpak") are not the app's own.
    static QStringList identities(const DesktopEntry& entry);
    // The folders of the XDG config, cache, data and state homes named exactly like one of
    // `identities`, and "~/snap/<name>" for a snap.
    static QList<DataMatch> dataOf(const QStringList& identities,
                                   const std::optional<QString>& snapName = std::nullopt);

    // The XDG home (or "~/snap") that holds `item` directly, for the kinds found there; nothing
    // for any other item.
    static std::optional<QString> dataRootOf(const AppDataItem& item);
    // The user's own entries ("applications" in XDG_DATA_HOME): the only ones removed with an app.
    static QString userEntryFolder();

    // The folders an app of the menus or a listed snap may use: those named by any of their
    // identities, whether or not the app's program is found. Never offered as a leftover.
    static QStringList claimedFolders(const std::optional<SnapListing>& snaps);
    // The same for `entries` read already.
    static QStringList claimedFolders(const QList<DesktopEntry>& entries,
                                      const std::optional<SnapListing>& snaps);

    // The apps, measured, with their data. `snaps` is what snap listed (absent without snap).
    static QList<InstalledApp> find(const std::optional<SnapListing>& snaps,
                                    const CancellationToken& cancellation = {},
                                    QStringList* problems = nullptr);
    // The same for `entries` read already.
    static QList<InstalledApp> find(const QList<DesktopEntry>& entries,
                                    const std::optional<SnapListing>& snaps,
                                    const CancellationToken& cancellation);
};

} // namespace corvane
