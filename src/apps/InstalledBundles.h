#pragma once

#include "apps/LibraryMatcher.h"
#include "platform/Cancellation.h"

#include <QStringList>

namespace corvane {

// Who uses Library data: every installed bundle and every helper nested in one, read from
// their Info.plist. The inventory and every removal decide from the same reading, so that data an
// installed app uses is never a leftover and never goes with another app.
struct InstalledBundles {
    // Reads `bundles` (resolved paths) and the helpers nested anywhere in their "Contents".
    // Bundles without a readable Info.plist or without an identifier are taken as unknown.
    static InstalledSet read(const QStringList& bundles,
                             const CancellationToken& cancellation = {});
    // The same for the bundles AppFinder finds now.
    static InstalledSet current(const CancellationToken& cancellation = {});

    // The helper apps, app extensions and XPC services nested in `bundlePath`'s "Contents" at any
    // depth, not through links.
    static QStringList nestedBundles(const QString& bundlePath);
};

} // namespace corvane
