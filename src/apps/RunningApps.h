#pragma once

#include "apps/AppTypes.h"

namespace corvane::RunningApps {

// Whether the app runs now: on macOS as the system lists running applications, elsewhere as a
// process whose executable lies inside the app's folder.
bool isRunning(const InstalledApp& app);

} // namespace corvane::RunningApps
