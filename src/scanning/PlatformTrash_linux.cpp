#include "scanning/PlatformTrash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace corvane {
namespace {

// Qt makes the "Trash" folder only when the data folder above it exists and is writable; when it
// cannot, it has no Trash and puts the item into a "files" folder below the current folder
// instead. So the home Trash is made here, private to the user as the freedesktop rules ask, and
// nothing moves unless it is a folder.
bool ensureHomeTrash(const QString& trash) {
    if (QFileInfo(trash).isDir())
        return true;
    QDir().mkpath(QFileInfo(trash).path());
    if (QDir().mkdir(trash))
        QFile::setPermissions(trash, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                         QFileDevice::ExeOwner);
    return QFileInfo(trash).isDir();
}

} // namespace

std::optional<QString> moveToPlatformTrash(const QString& path) {
    const QString dataFolder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString trash = dataFolder + QStringLiteral("/Trash");
    if (dataFolder.isEmpty() || !ensureHomeTrash(trash))
        return QStringLiteral("The Trash folder %1 could not be created").arg(trash);
    QFile file(path);
    if (file.moveToTrash())
        return std::nullopt;
    return file.errorString();
}

} // namespace corvane
