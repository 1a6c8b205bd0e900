#pragma once

#include <QMap>
#include <QString>
#include <functional>

namespace corvane {

// The real project paths of the Claude Code history folders this system filled. A folder name
// is a lossy encoding of a path, so when history is moved the path is written down here; it is
// the only way back from a folder name to its project when no session file names its "cwd".
struct ClaudeFolderLedger {
    QString url;

    // Folder name -> project path, and "<folder name>/<session file>" -> project path for a
    // session moved on its own (ClaudeHistory::sessionKey), for reading. A missing or unreadable
    // file is an empty mapping.
    QMap<QString, QString> load() const;

    // Applies `change` to the mapping as it is stored now and replaces the file with the result,
    // holding a lock file beside it throughout, so that two relinks at once never lose each
    // other's entries. A ledger that exists but cannot be read is never taken for an empty one:
    // it is left exactly as it is, and the message says why. Returns an empty string on success.
    QString update(const std::function<void(QMap<QString, QString>&)>& change) const;
    // Records `folderName` -> `path` through update().
    QString record(const QString& folderName, const QString& path) const;
};

} // namespace corvane
