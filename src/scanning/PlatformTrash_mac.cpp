#include "scanning/PlatformTrash.h"

#include <QFile>

namespace corvane {

std::optional<QString> moveToPlatformTrash(const QString& path) {
    // Qt hands this to NSFileManager's trashItemAtURL, which keeps "Put Back" working.
    QFile file(path);
    if (file.moveToTrash())
        return std::nullopt;
    return file.errorString();
}

} // namespace corvane
