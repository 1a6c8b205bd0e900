#pragma once

#include "shell/LaunchOptions.h"

#include <QString>
#include <optional>

namespace corvane {

// An app started from its disk image or from Downloads is offered, once, a move into
// /Applications, where it keeps working after the image is ejected and the download cleared.
namespace MoveToApplications {

inline const QString suppressedKey = QStringLiteral("moveToApplicationsSuppressed");
inline const QString defaultFolder = QStringLiteral("/Applications");

// Where the bundle at `bundlePath` should be moved, or nothing when no offer is due: the user
// declined for good (`suppressed`), the app is no .app bundle, or it runs from neither a
// disk image, the Downloads folder of `home`, nor (under --installed-from-volume) anywhere.
std::optional<QString> destination(const QString& bundlePath, const QString& home,
                                   const LaunchOptions& options, bool suppressed);

// The bundle the running app belongs to; empty where apps come without one.
QString runningBundlePath();

// Copies the bundle to `destination` (replacing an older copy, which goes to the Trash), starts
// the copy and returns true; this process should then quit. False, with a message, on failure.
bool moveAndRelaunch(const QString& bundlePath, const QString& destination, QString* error);

// Asks the user when `destination` says so. True when the app has relaunched from its new place.
bool offer(const LaunchOptions& options);

} // namespace MoveToApplications

} // namespace corvane
