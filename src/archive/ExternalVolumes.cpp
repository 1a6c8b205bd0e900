#include "archive/ExternalVolumes.h"

#include "platform/Locations.h"
#include "platform/NameOrder.h"
#include "platform/PathIdentity.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace corvane::ExternalVolumes {
namespace {

const QString gvfsType = QStringLiteral("fuse.gvfsd-fuse");

const QSet<QString>& networkTypes() {
    static const QSet<QString> types{QStringLiteral("cifs"),  QStringLiteral("smb3"),
                                     QStringLiteral("smbfs"), QStringLiteral("nfs"),
                                     QStringLiteral("nfs4"),  QStringLiteral("fuse.sshfs")};
    return types;
}

// File systems that hold no user data even when their device looks like a disk: a snap's
// squashfs sits on a loop device, a container's overlay on the system disk.
const QSet<QString>& pseudoTypes() {
    static const QSet<QString> types{
        QStringLiteral("proc"),        QStringLiteral("sysfs"),
        QStringLiteral("tmpfs"),       QStringLiteral("devtmpfs"),
        QStringLiteral("devpts"),      QStringLiteral("ramfs"),
        QStringLiteral("overlay"),     QStringLiteral("squashfs"),
        QStringLiteral("cgroup"),      QStringLiteral("cgroup2"),
        QStringLiteral("securityfs"),  QStringLiteral("debugfs"),
        QStringLiteral("tracefs"),     QStringLiteral("pstore"),
        QStringLiteral("bpf"),         QStringLiteral("configfs"),
        QStringLiteral("fusectl"),     QStringLiteral("mqueue"),
        QStringLiteral("hugetlbfs"),   QStringLiteral("autofs"),
        QStringLiteral("binfmt_misc"), QStringLiteral("efivarfs"),
        QStringLiteral("nsfs"),        QStringLiteral("rpc_pipefs"),
        QStringLiteral("fuse.portal"), QStringLiteral("fuse.snapfuse")};
    return types;
}

// gvfs names a share's folder by its mount location, "smb-share:server=nas,share=media"; people
// know it as "media on nas", as the file manager shows it.
QString gvfsShareName(const QString& folder) {
    const qsizetype colon = folder.indexOf(u':');
    if (colon < 0)
        return folder;
    QString server;
    QString share;
    for (const QString& pair : folder.mid(colon + 1).split(u',')) {
        const qsizetype equals = pair.indexOf(u'=');
        const QString key = pair.left(equals);
        if (key == QStringLiteral("server") || key == QStringLiteral("host"))
            server = pair.mid(equals + 1);
        else if (key == QStringLiteral("share"))
            share = pair.mid(equals + 1);
    }
    if (!share.isEmpty() && !server.isEmpty())
        return share + QStringLiteral(" on ") + server;
    return server.isEmpty() ? folder : server;
}

bool isSystemDisk(const MountEntry& entry, const SystemDisks& system) {
    if (entry.mountPoint == QStringLiteral("/") || entry.mountPoint == system.homeMountPoint)
        return true;
    // The same device mounted a second time (a bind mount) is still the system's disk.
    return !entry.device.isEmpty() &&
           (entry.device == system.rootDevice || entry.device == system.homeDevice);
}

bool isUnderMediaFolder(const QString& mountPoint) {
    return mountPoint.startsWith(QStringLiteral("/media/")) ||
           mountPoint.startsWith(QStringLiteral("/run/media/"));
}

// Folders only: on macOS /Volumes holds a link to "/" for the system disk.
QList<Volume> foldersIn(const QString& folder) {
    QList<Volume> volumes;
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo& entry : entries)
        volumes.append({entry.fileName(), Paths::joined(folder, entry.fileName()), false});
    return volumes;
}

} // namespace

QList<Volume> mounted() {
    // An empty value counts as unset, as it does for Locations::volumesDir().
    QList<Volume> volumes = qEnvironmentVariableIsEmpty("CORVANE_VOLUMES_DIR")
                                ? systemVolumes()
                                : foldersIn(Locations::volumesDir());
    std::sort(volumes.begin(), volumes.end(), [](const Volume& a, const Volume& b) {
        const int byName = NameOrder::compare(a.name, b.name);
        return byName != 0 ? byName < 0 : a.path < b.path;
    });
    return volumes;
}

QString archiveFolder(const QString& volumeRoot) {
    const QString earlier = Paths::joined(volumeRoot, QStringLiteral("BrushwickArchive"));
    if (QFileInfo(earlier).isDir())
        return earlier;
    return Paths::joined(volumeRoot, QStringLiteral("CorvaneArchive"));
}

QString menuTitle(const Volume& volume) {
    return volume.isNetwork ? volume.name + QStringLiteral(" (network)") : volume.name;
}

std::optional<Volume> volumeFrom(const VolumeProperties& properties, const QString& homeVolume) {
    if (properties.isInternal.value_or(false) || !properties.isBrowsable.value_or(true))
        return std::nullopt;
    // Nothing can be archived onto a volume that cannot be written: a mounted disk image, or a
    // drive formatted for Windows, which macOS only reads.
    if (properties.isReadOnly.value_or(false))
        return std::nullopt;
    // An archive on the disk it should free space on frees nothing, whatever the disk says of
    // itself (a home folder on an external drive reports it as external).
    if (properties.isRootFileSystem.value_or(false) ||
        PathIdentity::same(properties.path, QStringLiteral("/")) ||
        (!homeVolume.isEmpty() && PathIdentity::same(properties.path, homeVolume)))
        return std::nullopt;
    const QString name = properties.name.value_or(Paths::lastComponent(properties.path));
    return Volume{name, properties.path, !properties.isLocal.value_or(true)};
}

QList<Volume> volumesFrom(const MountEntry& entry, const SystemDisks& system) {
    if (isSystemDisk(entry, system))
        return {};
    if (entry.fileSystemType == gvfsType) {
        QList<Volume> shares;
        for (const QString& share : entry.gvfsShares)
            shares.append({gvfsShareName(share), Paths::joined(entry.mountPoint, share), true});
        return shares;
    }
    // Nothing can be archived onto a file system that cannot be written.
    if (entry.isReadOnly)
        return {};
    const QString name =
        entry.label.isEmpty() ? Paths::lastComponent(entry.mountPoint) : entry.label;
    if (networkTypes().contains(entry.fileSystemType))
        return {Volume{name, entry.mountPoint, true}};
    if (pseudoTypes().contains(entry.fileSystemType) ||
        !entry.device.startsWith(QStringLiteral("/dev/")))
        return {};
    // USB disks often do not call themselves removable, but the desktop mounts them under /media.
    if (!entry.isRemovable && !isUnderMediaFolder(entry.mountPoint))
        return {};
    return {Volume{name, entry.mountPoint, false}};
}

} // namespace corvane::ExternalVolumes
