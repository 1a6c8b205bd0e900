#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

// The folders of the home folder that belong to the system rather than to a project: on macOS
// "Applications", "Desktop", "Documents", "Downloads", "Library", "Movies", "Music", "Pictures",
// "Public"; elsewhere the XDG user folders (from "user-dirs.dirs", or their usual names); on both
// every folder that carries a ".localized" marker. They are never moved, only looked inside.
namespace StandardFolders {

// Absolute paths of the standard folders of `home` that exist.
QStringList of(const QString& home);

bool isStandard(const QString& path, const QString& home);

} // namespace StandardFolders
} // namespace corvane
