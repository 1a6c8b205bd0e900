#pragma once

#include "cli/Console.h"
#include "scanning/ScanSessionTypes.h"

namespace corvane::cli {

struct OverviewRequest {
    // A folder to scan first, so that its projects are counted; none when empty.
    QString folder;
    bool json = false;
};

// The disk's capacity and free space, what every area could give back and the Trash's size;
// returns the exit status.
int runOverview(const OverviewRequest& request, const ScanStarter& starter, Console& console);

} // namespace corvane::cli
