#pragma once

#include "apps/InstallCheck.h"
#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

namespace corvane {

struct SnapApp {
    QString name;
    QString version;

    bool operator==(const SnapApp&) const = default;
};

// What `snap list` said: the installed snaps that are apps (bases, the core and snapd itself
// are not), or why they are not known.
struct SnapListing {
    QList<SnapApp> apps;
    std::optional<QString> error;
};

// Snaps: apps that snapd installs as images under /snap, whose data lives in "~/snap/<name>".
struct SnapApps {
    // Locations::toolPath("snap", "/usr/bin/snap"); CORVANE_TOOL_SNAP overrides it.
    static QString toolPath();
    static bool isInstalled();

    // `snap list`: a heading "Name Version Rev Tracking Publisher Notes", then one line per snap
    // of columns separated by spaces. A line of fewer columns makes the list unreadable.
    static SnapListing parse(const QByteArray& output);
    // The installed snaps; absent when snap is not installed.
    static std::optional<SnapListing> list(const ProcessRunner& runner = ProcessRunner::system(),
                                           const CancellationToken& cancellation = {});
    // `snap list -- <name>`: installed when it exits 0 listing the snap; not installed only when it
    // fails saying "error: no matching snaps installed"; anything else is unknown.
    static InstallCheck check(const QString& name,
                              const ProcessRunner& runner = ProcessRunner::system(),
                              const CancellationToken& cancellation = {});
    // Lower-case letters, digits and "-", at most 40, beginning with a letter: what snapd
    // accepts as a snap's name.
    static bool isName(const QString& name);
    // "~/snap", where each snap keeps its data in a folder named after it.
    static QString dataRoot();
    // "~/snap/<name>": the snap's data, all its revisions and "common".
    static QString dataFolder(const QString& name);
};

} // namespace corvane
