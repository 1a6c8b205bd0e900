#include "archive/ExternalVolumes.h"

#include "platform/Locations.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QStorageInfo>
#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::ExternalVolumes;
using test::s;

namespace {

using Volumes = QList<Volume>;

// A laptop whose home folder has a partition of its own.
const SystemDisks laptop{s("/dev/nvme0n1p2"), s("/home"), s("/dev/nvme0n1p3")};

MountEntry row(const char* mountPoint, const char* device, const char* type,
               bool removable = false) {
    MountEntry entry;
    entry.mountPoint = s(mountPoint);
    entry.device = s(device);
    entry.fileSystemType = s(type);
    entry.isRemovable = removable;
    return entry;
}

} // namespace

TEST(ExternalVolumesTest, TheVolumesFolderOverrideListsOnlyItsFolders) {
    const QString volumes = test::makeTempDir(s("volumes"));
    for (const char* name : {"Zeta", "alpha", "Backup Drive", ".Trashes"})
        QDir().mkpath(volumes + u'/' + s(name));
    test::writeFile(volumes + s("/notes.txt"), "not a volume");
    // macOS keeps a link to the system disk in /Volumes.
    QFile::link(s("/"), volumes + s("/Macintosh HD"));
    const test::ScopedEnvironment override("CORVANE_VOLUMES_DIR", volumes);

    EXPECT_EQ(mounted(), (Volumes{{s("alpha"), volumes + s("/alpha"), false},
                                  {s("Backup Drive"), volumes + s("/Backup Drive"), false},
                                  {s("Zeta"), volumes + s("/Zeta"), false}}));
}

TEST(ExternalVolumesTest, AnArchiveGoesToTheEarlierFolderOnlyWhereItExists) {
    const QString fresh = test::makeTempDir(s("fresh"));
    EXPECT_EQ(archiveFolder(fresh), fresh + s("/CorvaneArchive"));

    const QString used = test::makeTempDir(s("used"));
    QDir().mkpath(used + s("/BrushwickArchive"));
    QDir().mkpath(used + s("/CorvaneArchive"));
    EXPECT_EQ(archiveFolder(used), used + s("/BrushwickArchive"));

    // A file of that name is not the folder of earlier versions.
    const QString odd = test::makeTempDir(s("odd"));
    test::writeFile(odd + s("/BrushwickArchive"));
    EXPECT_EQ(archiveFolder(odd), odd + s("/CorvaneArchive"));
}

TEST(ExternalVolumesTest, MacVolumePropertiesDecideWhatIsListed) {
    const QString homeVolume = s("/System/Volumes/Data");
    const auto volumeOf = [&](std::optional<bool> internal, std::optional<bool> browsable,
                              std::optional<bool> local) {
        return volumeFrom({s("/Volumes/Drive"), s("Drive"), internal, browsable, local,
                           std::nullopt, std::nullopt},
                          homeVolume);
    };
    EXPECT_FALSE(volumeOf(true, true, true));
    EXPECT_FALSE(volumeOf(false, false, true));
    // Absent values: browsable, local, writable and not the system's.
    EXPECT_EQ(volumeOf(std::nullopt, std::nullopt, std::nullopt),
              (Volume{s("Drive"), s("/Volumes/Drive"), false}));

    const std::optional<Volume> share = volumeFrom(
        {s("/Volumes/media"), std::nullopt, false, true, false, false, false}, homeVolume);
    ASSERT_TRUE(share);
    EXPECT_EQ(*share, (Volume{s("media"), s("/Volumes/media"), true}));
    EXPECT_EQ(menuTitle(*share), s("media (network)"));
    EXPECT_EQ(menuTitle(*volumeOf(false, true, true)), s("Drive"));
}

TEST(ExternalVolumesTest, MacVolumesThatCannotTakeAnArchiveAreLeftOut) {
    // As a Mac with its home folder on an external drive describes its volumes.
    const QString homeVolume = s("/Volumes/Home");
    const auto external = [](const char* path, std::optional<bool> readOnly = false,
                             std::optional<bool> root = false) {
        const QString mountPoint = s(path);
        return VolumeProperties{
            mountPoint, mountPoint.section(u'/', -1), false, true, true, readOnly, root};
    };
    for (const VolumeProperties& properties :
         {// A mounted disk image, and a Windows drive macOS only reads.
          external("/Volumes/Corvane Clean", true), external("/Volumes/WINDOWS", true),
          // The system's volume, also where it does not say so.
          external("/", false, true), external("/", false, std::nullopt),
          // The home folder's, however its path is written.
          external("/Volumes/Home"), external("/Volumes/Home/")})
        EXPECT_FALSE(volumeFrom(properties, homeVolume)) << qPrintable(properties.path);

    EXPECT_EQ(volumeFrom(external("/Volumes/USB Stick"), homeVolume),
              (Volume{s("USB Stick"), s("/Volumes/USB Stick"), false}));
    // A volume whose name only starts like the home's is another volume.
    EXPECT_TRUE(volumeFrom(external("/Volumes/Home 2"), homeVolume));
}

TEST(ExternalVolumesTest, LinuxMountsOfTheSystemAndPseudoFileSystemsAreNeverListed) {
    for (const MountEntry& entry :
         {row("/", "/dev/nvme0n1p2", "ext4"), row("/home", "/dev/nvme0n1p3", "ext4"),
          // The home's partition bound somewhere else, even under /media.
          row("/media/me/homecopy", "/dev/nvme0n1p3", "ext4", true),
          row("/boot/efi", "/dev/nvme0n1p1", "vfat"), row("/proc", "proc", "proc"),
          row("/run/user/1000", "tmpfs", "tmpfs"), row("/media/me/scratch", "tmpfs", "tmpfs"),
          row("/snap/core/1", "/dev/loop3", "squashfs", true),
          row("/sys/fs/cgroup", "cgroup2", "cgroup2")})
        EXPECT_EQ(volumesFrom(entry, laptop), Volumes{}) << qPrintable(entry.mountPoint);

    MountEntry readOnly = row("/media/me/DVD", "/dev/sr0", "iso9660", true);
    readOnly.isReadOnly = true;
    EXPECT_EQ(volumesFrom(readOnly, laptop), Volumes{});
}

TEST(ExternalVolumesTest, LinuxRemovableAndMediaMountsAreLocalVolumes) {
    MountEntry usb = row("/mnt/usb", "/dev/sdb1", "exfat", true);
    EXPECT_EQ(volumesFrom(usb, laptop), (Volumes{{s("usb"), s("/mnt/usb"), false}}));
    usb.label = s("BACKUP");
    EXPECT_EQ(volumesFrom(usb, laptop), (Volumes{{s("BACKUP"), s("/mnt/usb"), false}}));

    // A USB disk that does not call itself removable, mounted by the desktop.
    EXPECT_EQ(volumesFrom(row("/run/media/me/Passport", "/dev/sdc1", "ntfs3"), laptop),
              (Volumes{{s("Passport"), s("/run/media/me/Passport"), false}}));
    EXPECT_EQ(volumesFrom(row("/media/me/Data", "/dev/sdd2", "ext4"), laptop),
              (Volumes{{s("Data"), s("/media/me/Data"), false}}));
    // A second internal disk mounted by hand is not an external drive.
    EXPECT_EQ(volumesFrom(row("/data", "/dev/sda1", "ext4"), laptop), Volumes{});
}

TEST(ExternalVolumesTest, LinuxNetworkMountsAreListedAsNetworkVolumes) {
    const Volumes cifs = volumesFrom(row("/mnt/nas", "//nas/media", "cifs"), laptop);
    ASSERT_EQ(cifs, (Volumes{{s("nas"), s("/mnt/nas"), true}}));
    EXPECT_EQ(menuTitle(cifs.at(0)), s("nas (network)"));
    EXPECT_EQ(volumesFrom(row("/srv/backup", "server:/export", "nfs4"), laptop),
              (Volumes{{s("backup"), s("/srv/backup"), true}}));

    // Each share gvfs mounted is a volume of its own; the gvfs folder itself is not.
    MountEntry gvfs = row("/run/user/1000/gvfs", "gvfsd-fuse", "fuse.gvfsd-fuse");
    EXPECT_EQ(volumesFrom(gvfs, laptop), Volumes{});
    gvfs.gvfsShares = {s("smb-share:server=nas,share=media"), s("sftp:host=box.lan,user=me")};
    EXPECT_EQ(volumesFrom(gvfs, laptop),
              (Volumes{{s("media on nas"),
                        s("/run/user/1000/gvfs/smb-share:server=nas,share=media"), true},
                       {s("box.lan"), s("/run/user/1000/gvfs/sftp:host=box.lan,user=me"), true}}));
}

// The real machine: whatever it has mounted, its system and home disks are never offered.
TEST(ExternalVolumesTest, ThisMachinesSystemAndHomeDisksAreNotListed) {
    const test::ScopedEnvironment noOverride("CORVANE_VOLUMES_DIR", QString());
    const QString homeRoot = QStorageInfo(Locations::homeDir()).rootPath();
    ASSERT_FALSE(homeRoot.isEmpty());
    for (const Volume& volume : mounted()) {
        EXPECT_NE(volume.path, s("/"));
        EXPECT_NE(volume.path, homeRoot);
    }
}
