#pragma once

#include "shell/BundleMove.h"
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
// disk image, the Downloads folder of `home`, a read-only copy the system made of it
// (`translocated`), nor (under --installed-from-volume) anywhere.
std::optional<QString> destination(const QString& bundlePath, const QString& home,
                                   const LaunchOptions& options, bool suppressed,
                                   bool translocated);

// Whether `bundlePath` is the read-only copy macOS runs a quarantined app from when the user
// opened it where it was downloaded or unpacked (App Translocation):
// "/private/var/folders/…/T/AppTranslocation/<identifier>/d/<name>.app".
bool isTranslocated(const QString& bundlePath);

// Whether `path` lies on a mounted volume ("/Volumes/…"), compared without case as the Mac does.
bool isOnVolume(const QString& path);

// The bundle the running app belongs to; empty where apps come without one.
QString runningBundlePath();

// The bundle the user opened, for the translocated copy at `translocatedPath`; nothing when the
// system does not say.
std::optional<QString> originalOfTranslocated(const QString& translocatedPath);

// Moves the bundle to `destination` (see moveBundle) and starts the moved copy; when the outcome
// says `relaunched`, this process should quit.
MoveOutcome moveAndRelaunch(const QString& bundlePath, const QString& destination);

// Asks the user when `destination` says so. True when the app has relaunched from its new place.
bool offer(const LaunchOptions& options);

} // namespace MoveToApplications

} // namespace corvane
