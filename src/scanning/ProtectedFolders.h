#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane {

// The folders of the user's own life, which a scan never offers whatever git or the catalog say
// about them: the home folder and every folder that holds it, the home's standard folders
// (Desktop, Documents, Library, the XDG user folders ...) and every folder that holds one, and
// hidden folders whose names the catalog does not know (".ssh", ".gnupg", ".config"). A home
// folder kept in git with an ignore file of "*" would otherwise offer all of them.
//
// Made once per scan: the standard folders come from the desktop's settings file.
class ProtectedFolders {
public:
    // The folders of the user in HOME. Each is known by its path, its path with links resolved,
    // and its path as reached through `scanRoot` when that is a link to a folder above it.
    static ProtectedFolders ofCurrentUser(const QString& scanRoot = {});

    // Whether `path` is the home folder, in any of its spellings.
    bool isHome(const QString& path) const;
    // Whether the folder at `path` may be offered as an item.
    bool allowsItem(const QString& path) const;

private:
    QSet<QString> homeSpellings_;
    // The home and its standard folders, in every spelling.
    QStringList folders_;
};

} // namespace corvane
