#pragma once

#include "apps/AppTypes.h"

namespace corvane::RunningApps {

// Whether the app runs now: on macOS as the system lists running applications, elsewhere as a
// process whose executable lies inside the app's folder.
bool isRunning(const InstalledApp& app);

// Whether a process whose executable is `executable` runs from inside the folder `bundle` (a
// resolved path other than "/"). Names compare as text: the system may spell either path
// decomposed and the other composed.
bool runsFrom(const QString& executable, const QString& bundle);

} // namespace corvane::RunningApps
