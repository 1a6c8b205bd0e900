#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane {

// Recognises project roots by the marker files and folders directly inside them.
struct ProjectDetector {
    // The fixed marker names (exact, case-sensitive).
    static const QSet<QString>& markerSet();

    // The marker names among `names`, in the order given.
    static QStringList markers(const QStringList& names);

    // Whether `name` is a marker: a member of the set, or a name ending in ".xcodeproj" or
    // ".xcworkspace".
    static bool isProjectRoot(const QString& name);
};

} // namespace corvane
