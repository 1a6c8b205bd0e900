// Linux listing: the mount table through QStorageInfo, judged row by row by volumesFrom().

#include "archive/ExternalVolumes.h"
#include "platform/Locations.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

namespace corvane::ExternalVolumes {
namespace {

bool readsOne(const QString& flagFile) {
    QFile file(flagFile);
    return file.open(QIODevice::ReadOnly) && file.readAll().trimmed() == "1";
}

// The kernel keeps the flag on the whole disk; a partition's folder sits inside its disk's.
bool isRemovable(const QString& device) {
    const QString resolved = QFileInfo(device).canonicalFilePath();
    if (resolved.isEmpty())
        return false;
    const QString name = QFileInfo(resolved).fileName();
    const QString blockFolder =
        QFileInfo(QStringLiteral("/sys/class/block/") + name).canonicalFilePath();
    if (blockFolder.isEmpty())
        return false;
    const QString own = blockFolder + QStringLiteral("/removable");
    if (QFileInfo::exists(own))
        return readsOne(own);
    return readsOne(QFileInfo(blockFolder).path() + QStringLiteral("/removable"));
}

QStringList gvfsShares(const QString& mountPoint) {
    return QDir(mountPoint).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
}

MountEntry entryOf(const QStorageInfo& storage) {
    MountEntry entry;
    entry.mountPoint = storage.rootPath();
    entry.device = QString::fromLocal8Bit(storage.device());
    entry.fileSystemType = QString::fromLatin1(storage.fileSystemType());
    entry.label = storage.name();
    entry.isReadOnly = storage.isReadOnly();
    if (entry.device.startsWith(QStringLiteral("/dev/")))
        entry.isRemovable = isRemovable(entry.device);
    // Other users' gvfs folders cannot be read and so list nothing.
    if (entry.fileSystemType == QStringLiteral("fuse.gvfsd-fuse"))
        entry.gvfsShares = gvfsShares(entry.mountPoint);
    return entry;
}

} // namespace

QList<Volume> systemVolumes() {
    const QStorageInfo home(Locations::homeDir());
    const SystemDisks system{QString::fromLocal8Bit(QStorageInfo::root().device()), home.rootPath(),
                             QString::fromLocal8Bit(home.device())};
    QList<Volume> volumes;
    for (const QStorageInfo& storage : QStorageInfo::mountedVolumes()) {
        if (!storage.isValid() || !storage.isReady())
            continue;
        for (const Volume& volume : volumesFrom(entryOf(storage), system))
            if (!volumes.contains(volume))
                volumes.append(volume);
    }
    return volumes;
}

} // namespace corvane::ExternalVolumes
