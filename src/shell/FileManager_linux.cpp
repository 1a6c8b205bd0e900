#include "platform/Paths.h"
#include "shell/FileManager.h"

#include <QDesktopServices>
#include <QUrl>

namespace corvane::FileManager {

QString revealTitle() {
    return QStringLiteral("Show in Files");
}

// Desktops agree on no way to select an item, so the folder that holds it opens.
bool reveal(const QString& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(Paths::parentPath(path)));
}

} // namespace corvane::FileManager
