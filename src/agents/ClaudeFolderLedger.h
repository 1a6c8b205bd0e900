#pragma once

#include "platform/OwnFile.h"

#include <QMap>
#include <QString>
#include <functional>

namespace corvane {

// The real project paths of the Claude Code history folders this system filled. A folder name
// is a lossy encoding of a path, so when history is moved the path is written down here; it is
// the only way back from a folder name to its project when no session file names its "cwd".
// The file is a JSON object of folder name -> path, changed as an own file (OwnFile).
struct ClaudeFolderLedger {
    QString url;

    // Folder name -> project path, and "<folder name>/<session file>" -> project path for a
    // session moved on its own (ClaudeHistory::sessionKey), for reading: the entries this version
    // reads. A missing or unreadable file is an empty mapping here; the change that follows
    // reports it.
    QMap<QString, QString> load() const;

    // Applies `change` to the mapping as it is stored now and replaces the file with the result,
    // under its lock, so that two relinks at once never lose each other's entries. A ledger that
    // cannot be read is kept aside before a new one is begun, and the outcome says where; entries
    // this version can't read stay as they are.
    OwnFile::Outcome update(const std::function<void(QMap<QString, QString>&)>& change) const;
    // Records `folderName` -> `path` through update().
    OwnFile::Outcome record(const QString& folderName, const QString& path) const;

private:
    OwnFile file() const;
};

} // namespace corvane
