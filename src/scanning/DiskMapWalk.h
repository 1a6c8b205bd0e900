#pragma once

#include "platform/Cancellation.h"
#include "scanning/DiskMapTypes.h"

#include <QHash>
#include <QString>
#include <functional>

namespace corvane {

// Measures a folder for the disk map: the allocated bytes of every folder in it, reported as the
// walk goes (see MapEvent). It is the size calculator's walk, so it never follows a symbolic
// link, stays on the folder's volume, and counts a file with several hard links once. A folder
// that cannot be read, or vanishes mid-walk, is reported and counts nothing.
//
// Categories: a folder the caller names in `knownFolders` is that; a folder whose name the
// artifact catalog knows is that kind of artifact, a generic name ("build", "vendor") only
// beside a project marker; everything inside a categorised folder shares its category.
struct DiskMapWalk {
    struct Options {
        // By standardized absolute path.
        QHash<QString, MapCategory> knownFolders;
        // Events gather this long before they go out together; 0 sends each at once.
        int batchIntervalMs = 40;
    };

    using BatchHandler = std::function<void(MapEvents batch)>;

    // Walks `root` on the calling thread, handing batches to `onBatch` there, in order; the last
    // one goes out when the walk ends. Nothing is sent when `root` is no readable folder. Throws
    // CancelledError when `cancellation` is cancelled.
    static void run(const QString& root, const Options& options, const BatchHandler& onBatch,
                    const CancellationToken& cancellation = {});
};

} // namespace corvane
