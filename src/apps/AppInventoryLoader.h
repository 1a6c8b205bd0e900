#pragma once

#include "apps/AppBundle.h"
#include "apps/AppTypes.h"
#include "platform/Cancellation.h"
#include "platform/ProcessRunner.h"

namespace corvane {

// Builds the whole app inventory: every bundle AppFinder finds (and, where flatpak is installed,
// every Flatpak app; on Linux, the desktop's apps LinuxApps finds), each with its measured size
// and its data, and the leftovers of apps that are gone (on Linux, those LinuxLeftovers finds,
// and the apps it lists are recorded as seen). Runs on a worker thread; throws CancelledError
// when cancelled.
struct AppInventoryLoader {
    // `casks` maps bundle names to the Homebrew casks that installed them (Homebrew's side reads
    // it); `runner` starts flatpak and snap.
    static AppInventory load(const CaskMap& casks = {}, const CancellationToken& cancellation = {},
                             const ProcessRunner& runner = ProcessRunner::system());

    // Largest app and data together first, then by name; leftovers largest first, then by
    // identifier.
    static void sort(AppInventory& inventory);
};

} // namespace corvane
