#pragma once

#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

#include <QString>
#include <optional>

namespace corvane {

// Mounts an SMB share before an archive goes to it, with the login the system keeps: on macOS by
// opening the URL (the share appears under /Volumes/<share>), elsewhere with `gio mount` (under
// gvfs's folder). A share that is mounted already is used as it is.
namespace SmbMount {

struct Result {
    // The mount point, when the share is mounted.
    std::optional<QString> mountPoint;
    // "Invalid SMB URL: ..." or "Could not mount ...", when it is not.
    std::optional<QString> error;
};

// Where the share of `smbURL` is mounted when it is; nothing for an address that is not an SMB
// URL.
std::optional<QString> expectedMountPoint(const QString& smbURL);
// The same by macOS's rules ("/Volumes/<share>") or gvfs's
// ("$XDG_RUNTIME_DIR/gvfs/smb-share:server=<host>,share=<share>").
std::optional<QString> expectedMountPoint(const QString& smbURL, bool macRules);

// Blocking, for up to `waitSeconds` after asking the system to mount.
Result mount(const QString& smbURL, const ProcessRunner& runner = ProcessRunner::system(),
             double waitSeconds = 30, const CancellationToken& cancellation = CancellationToken());

} // namespace SmbMount
} // namespace corvane
