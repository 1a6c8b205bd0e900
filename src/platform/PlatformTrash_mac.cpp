#include "platform/PlatformTrash.h"

#include <QFile>

namespace corvane {

TrashMove PlatformTrash::moveToTrash(const QString& path) const {
    // Qt hands this to NSFileManager's trashItemAtURL:resultingItemURL:error:, which keeps
    // Finder's "Put Back" working, and on success renames the QFile to the resulting URL's path.
    QFile file(path);
    if (!file.moveToTrash())
        return TrashMove::refused(file.errorString());
    // An unchanged name means the platform gave no resulting URL: where it went is not known.
    const QString trashed = file.fileName();
    if (trashed == path)
        return TrashMove::movedTo({});
    // Recorded at once: what lies there later is only this item if it is still the same file.
    return TrashMove::movedTo({trashed, {}, {}, {}, FileIdentity::of(trashed)});
}

} // namespace corvane
