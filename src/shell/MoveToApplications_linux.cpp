#include "shell/MoveToApplications.h"

namespace corvane::MoveToApplications {

// Here the app comes from a package or an archive, never as a bundle to be moved.
QString runningBundlePath() {
    return {};
}

bool moveAndRelaunch(const QString&, const QString&, QString* error) {
    if (error)
        *error = QStringLiteral("Apps are not moved into Applications on this system.");
    return false;
}

} // namespace corvane::MoveToApplications
