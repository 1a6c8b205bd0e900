#include "shell/FileManager.h"

#include <QProcess>

namespace corvane::FileManager {

QString revealTitle() {
    return QStringLiteral("Reveal in Finder");
}

// "open -R" selects the item in a Finder window. The path is absolute, so it can never be read
// as an option.
bool reveal(const QString& path) {
    return QProcess::startDetached(QStringLiteral("/usr/bin/open"), {QStringLiteral("-R"), path});
}

} // namespace corvane::FileManager
