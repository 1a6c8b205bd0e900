#pragma once

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

// The Linux counterpart of app bundles: Flatpak apps, whose data lives in "~/.var/app/<id>".
struct FlatpakApps {
    // Locations::toolPath("flatpak", "/usr/bin/flatpak"); CORVANE_TOOL_FLATPAK overrides it.
    static QString toolPath();
    static bool isInstalled();
    // `flatpak list --app --columns=application,name,version,installation`, one tab-separated
    // line per app; lines without an application are skipped.
    static QList<FlatpakApp> parse(const QByteArray& output);
    // The installed apps; absent when flatpak is missing or fails, so that no app's data is then
    // taken for a leftover.
    static std::optional<QList<FlatpakApp>>
    list(const ProcessRunner& runner = ProcessRunner::system(),
         const CancellationToken& cancellation = {});
    // "~/.var/app", where each app keeps its data in a folder named after its id.
    static QString dataRoot();
    // The installation's folder of the app (user: the data home's "flatpak/app/<id>", system:
    // "/var/lib/flatpak/app/<id>").
    static QString appFolder(const FlatpakApp& app);
};

} // namespace corvane
