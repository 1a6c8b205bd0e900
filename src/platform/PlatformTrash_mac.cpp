#include "platform/PlatformTrash.h"

#include <QFile>

namespace corvane {

std::optional<QString> PlatformTrash::moveToTrash(const QString& path) const {
    // Qt hands this to NSFileManager's trashItemAtURL, which keeps "Put Back" working.
    QFile file(path);
    if (file.moveToTrash())
        return std::nullopt;
    return file.errorString();
}

} // namespace corvane
