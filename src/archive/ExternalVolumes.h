#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace corvane {

// The mounted volumes offered as archive targets: external drives and network shares, never the
// disk the system or the home folder is on. When CORVANE_VOLUMES_DIR is set, every folder
// directly inside it is a mounted local volume named after its folder.
namespace ExternalVolumes {

struct Volume {
    QString name;
    // The mount point.
    QString path;
    bool isNetwork = false;

    bool operator==(const Volume&) const = default;
};

QList<Volume> mounted();

// The folder an archive goes to on a volume: "BrushwickArchive" at its root when that exists
// (drives used by earlier versions keep it), else "CorvaneArchive".
QString archiveFolder(const QString& volumeRoot);

// The volume's name, with " (network)" for a network volume.
QString menuTitle(const Volume& volume);

// The platform's own listing, whatever CORVANE_VOLUMES_DIR says.
QList<Volume> systemVolumes();

// What macOS's file manager reports of one mounted volume; a value it leaves out stays unset.
struct VolumeProperties {
    QString path;
    std::optional<QString> name;
    std::optional<bool> isInternal;
    std::optional<bool> isBrowsable;
    std::optional<bool> isLocal;
    std::optional<bool> isReadOnly;
    std::optional<bool> isRootFileSystem;
};

// The volume as an archive target, or nothing for an internal, hidden or read-only one, the
// system's own, or the one mounted at `homeVolume` (the mount point of the home folder's volume).
std::optional<Volume> volumeFrom(const VolumeProperties& properties, const QString& homeVolume);

// One row of the Linux mount table, with what the listing needs to judge it.
struct MountEntry {
    QString mountPoint;
    // "/dev/sdb1", "//server/share", "server:/export", or a pseudo name such as "proc".
    QString device;
    QString fileSystemType;
    // The file system's label, when it has one.
    QString label;
    bool isReadOnly = false;
    // The block device's removable flag (or its disk's, for a partition).
    bool isRemovable = false;
    // For a gvfs mount: the folders inside it, one mounted share each.
    QStringList gvfsShares;
};

// Where the system and the home folder live; their file systems are never archive targets.
struct SystemDisks {
    QString rootDevice;
    QString homeMountPoint;
    QString homeDevice;
};

// The archive targets one mount offers: none, itself, or each share of a gvfs mount.
QList<Volume> volumesFrom(const MountEntry& entry, const SystemDisks& system);

} // namespace ExternalVolumes
} // namespace corvane
