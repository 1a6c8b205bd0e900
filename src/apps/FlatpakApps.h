#pragma once

#include "apps/InstallCheck.h"
#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

namespace corvane {

struct FlatpakApp {
    QString id;
    QString name;
    QString version;
    // "user" or "system".
    QString installation;

    bool operator==(const FlatpakApp&) const = default;
};

// What `flatpak list` said: the installed apps, or why they are not known. A list only ever
// names candidates: an app missing from it is gone once `flatpak info` says so (`check`).
struct FlatpakListing {
    QList<FlatpakApp> apps;
    std::optional<QString> error;
};

// The Linux counterpart of app bundles: Flatpak apps, whose data lives in "~/.var/app/<id>".
struct FlatpakApps {
    // Locations::toolPath("flatpak", "/usr/bin/flatpak"); CORVANE_TOOL_FLATPAK overrides it.
    static QString toolPath();
    static bool isInstalled();

    // `flatpak list --app --columns=application,name,version,installation`: one line per app of
    // four tab-separated columns; blank lines and a heading are skipped. Any other line, or an id
    // that is not an application id, makes the whole list unreadable (`error`). An empty output
    // is an empty list.
    static FlatpakListing parse(const QByteArray& output);
    // The installed apps; absent when flatpak is not installed.
    static std::optional<FlatpakListing> list(const ProcessRunner& runner = ProcessRunner::system(),
                                              const CancellationToken& cancellation = {});
    // `flatpak ps --columns=application`: the ids of the apps running now; an error when flatpak
    // fails or cannot be run.
    static FlatpakListing running(const ProcessRunner& runner = ProcessRunner::system(),
                                  const CancellationToken& cancellation = {});
    // `flatpak info -- <id>`, over every installation: installed when it exits 0; not installed
    // only when it fails saying "error: <id>... not installed" (its words in every version that
    // has the command); anything else is unknown.
    static InstallCheck check(const QString& id,
                              const ProcessRunner& runner = ProcessRunner::system(),
                              const CancellationToken& cancellation = {});
    // `error: <ref> not installed` for `id`, as flatpak prints it on standard error.
    static bool saysNotInstalled(const QString& id, const QByteArray& standardError);
    // Reverse-DNS with three or more parts of letters, digits, "_" and "-", none beginning with a
    // digit or "-": what flatpak accepts as an application id.
    static bool isAppId(const QString& id);
    // "~/.var/app", where each app keeps its data in a folder named after its id.
    static QString dataRoot();
    // dataRoot() + "/" + id: the app's data, removable with the app or once the app is gone.
    static QString dataFolder(const QString& id);
    // The installation's folder of the app (user: the data home's "flatpak/app/<id>", system:
    // "/var/lib/flatpak/app/<id>").
    static QString appFolder(const FlatpakApp& app);
};

} // namespace corvane
