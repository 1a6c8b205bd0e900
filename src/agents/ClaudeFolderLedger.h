#pragma once

#include <QMap>
#include <QString>

namespace corvane {

// The real project paths of the Claude Code history folders this system filled. A folder name
// is a lossy encoding of a path, so when history is moved the path is written down here; it is
// the only way back from a folder name to its project when no session file names its "cwd".
struct ClaudeFolderLedger {
    QString url;

    // Folder name -> project path. A missing or unreadable file is an empty mapping.
    QMap<QString, QString> load() const;
    // Replaces the whole file at once. Returns an empty string, or a message for the user.
    QString save(const QMap<QString, QString>& mapping) const;
    // Loads, records `folderName` -> `path`, saves.
    QString record(const QString& folderName, const QString& path) const;
};

} // namespace corvane
