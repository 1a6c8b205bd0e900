#pragma once

#include "apps/AppTypes.h"
#include "apps/InstallCheck.h"
#include "apps/SeenApps.h"
#include "apps/SnapApps.h"
#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QList>
#include <QStringList>
#include <optional>

namespace corvane {

// The data of Linux apps that are gone. Nothing is ever guessed from a folder's name: a leftover
// is the "~/snap/<name>" of a snap that snap says is not installed, or a folder that was found
// with an app this system listed before (SeenApps) whose entry and program are gone since, and
// that no app of the menus or listed snap names now. (Flatpak's "~/.var/app" folders are judged
// with Flatpak's own listing, by the inventory loader.)
struct LinuxLeftovers {
    struct Found {
        QList<OrphanedAppData> orphans;
        // What could not be found out or kept, one message each.
        QStringList errors;
    };

    // The leftovers, measured, given the apps `listed` now, what snap listed and the folders the
    // desktop's apps name (LinuxApps::claimedFolders); then records `listed` as seen.
    static Found find(const QList<InstalledApp>& listed, const std::optional<SnapListing>& snaps,
                      const QStringList& claimed, const SeenApps& seen = SeenApps(),
                      const ProcessRunner& runner = ProcessRunner::system(),
                      const CancellationToken& cancellation = {});

    // Whether the app recorded as `app` is gone now: a snap when snap says so, any other app
    // once its desktop entry and its program are no longer there.
    static InstallCheck gone(const SeenApp& app, const ProcessRunner& runner,
                             const CancellationToken& cancellation = {});

    // Judges the folders of one removal again now. What every folder is judged against (the
    // record of seen apps, snap's list, the folders the desktop's apps name) is read once, at
    // the first folder, not once per folder.
    class Judge {
    public:
        Judge(const SeenApps& seen, const ProcessRunner& runner);

        // Why `path`, a folder directly in an XDG home, is not (or no longer) a leftover: it
        // must be a recorded folder of a seen app that is gone, and no app may name it.
        std::optional<QString> refusal(const QString& path);

    private:
        struct Grounds {
            SeenApps::Read seen;
            std::optional<SnapListing> snaps;
            QStringList claimed;
        };
        const Grounds& grounds();

        const SeenApps& seen_;
        const ProcessRunner& runner_;
        std::optional<Grounds> grounds_;
    };
};

} // namespace corvane
