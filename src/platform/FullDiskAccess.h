#pragma once

namespace corvane {

// Whether the app may read the folders macOS guards behind Full Disk Access. Without it the
// sandboxed apps' Containers and Group Containers cannot be measured.
enum class FullDiskAccess {
    NotNeeded, // the system guards no such folders
    Granted,
    Missing,
};

// Asks the system by reading a guarded folder of the user's Library. Cheap; call it again after
// the user may have changed the setting.
FullDiskAccess fullDiskAccess();

} // namespace corvane
