#include "shell/MoveToApplications.h"

namespace corvane::MoveToApplications {

// Here the app comes from a package or an archive, never as a bundle to be moved.
QString runningBundlePath() {
    return {};
}

std::optional<QString> originalOfTranslocated(const QString&) {
    return std::nullopt;
}

MoveOutcome moveAndRelaunch(const QString&, const QString&) {
    return {false, false, {QStringLiteral("Apps are not moved into Applications on this system.")}};
}

} // namespace corvane::MoveToApplications
