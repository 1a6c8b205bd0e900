#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

// The inventory switches given on the command line when the app starts. They are read once and
// handed to the models that own an inventory; under a switch that inventory changes nothing.
struct LaunchOptions {
    bool dockerDryRun = false;
    bool simulatorDryRun = false;
    bool aiModelsDryRun = false;
    bool androidDryRun = false;
    // Behave as if started from a disk image, so the offer to move into Applications can be tried
    // from any folder.
    bool installedFromVolume = false;
    // Where that move puts the app instead of /Applications; empty for /Applications.
    QString moveDestination;

    // Unknown arguments are left alone: the platform adds its own (-psn_..., -NSDocumentRevisions).
    static LaunchOptions fromArguments(const QStringList& arguments);

    bool operator==(const LaunchOptions&) const = default;
};

} // namespace corvane
