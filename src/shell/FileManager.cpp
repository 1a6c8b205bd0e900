#include "shell/FileManager.h"

#include <QClipboard>
#include <QGuiApplication>

namespace corvane::FileManager {

void copyPath(const QString& path) {
    QGuiApplication::clipboard()->setText(path);
}

} // namespace corvane::FileManager
