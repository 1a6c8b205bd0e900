#include "shell/MoveToApplications.h"

namespace corvane::MoveToApplications {

// Here the app comes from a package or an archive, never as a bundle to be moved.
QString runningBundlePath() {
    return {};
}

bool moveAndRelaunch(const QString&, const QString&, QString* error) {
    if (error)
        *error = QStringLiteral("Moving is only done on macOS.");
    return false;
}

} // namespace corvane::MoveToApplications
