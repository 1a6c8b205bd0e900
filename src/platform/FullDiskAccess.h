#pragma once

#include <QList>
#include <QString>

namespace corvane {

// Whether the app may read the folders macOS guards behind Full Disk Access. Without it the
// sandboxed apps' Containers and Group Containers cannot be measured.
enum class FullDiskAccess {
    NotNeeded, // the system guards no such folders
    Granted,
    Missing,
};

// Asks the system by reading a guarded file or folder of the user's Library. Cheap; call it
// again after the user may have changed the setting.
FullDiskAccess fullDiskAccess();

// What reading one guarded item gave.
enum class GuardedRead {
    Read,
    // The privacy layer said no (EPERM, where a plain permission problem says EACCES).
    Refused,
    // Missing, or closed for another reason: it tells nothing about the privacy setting.
    Unknown,
};

// Reads `path` as far as the privacy layer looks: the first bytes of a file, the first entry of
// a folder. Opening alone proves nothing, since macOS may let a guarded folder be opened and
// refuse only its listing.
GuardedRead readGuarded(const QString& path);

// The first item that tells decides; when none does, nothing is hidden from the app either.
FullDiskAccess fullDiskAccessFrom(const QList<GuardedRead>& reads);

} // namespace corvane
