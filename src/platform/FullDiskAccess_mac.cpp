#include "platform/FullDiskAccess.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

namespace corvane {

FullDiskAccess fullDiskAccess() {
    // There is no API to ask. The privacy database comes first: every account has one. The
    // folders follow, since a fresh account may lack any one of them.
    const char* const guarded[] = {"Application Support/com.apple.TCC/TCC.db", "Safari", "Mail"};
    QList<GuardedRead> reads;
    for (const char* item : guarded)
        reads.append(readGuarded(Paths::joined(Locations::libraryDir(), QString::fromUtf8(item))));
    return fullDiskAccessFrom(reads);
}

} // namespace corvane
