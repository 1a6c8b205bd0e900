#pragma once

#include <QList>
#include <QString>

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

} // namespace ExternalVolumes
} // namespace corvane
