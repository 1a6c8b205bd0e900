#include "scanning/ProtectedFolders.h"

#include "platform/DirectoryReader.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "scanning/ArtifactCatalog.h"

#include <QStandardPaths>

namespace corvane {
namespace {

// What macOS puts in every home folder, looked at on every system: a scan of a home synced from
// a Mac must not offer them either.
const char* const standardNames[] = {"Applications", "Desktop", "Documents", "Downloads", "Library",
                                     "Movies",       "Music",   "Pictures",  "Public"};

QStringList standardFolders(const QString& home) {
    QStringList folders{home};
    for (const char* name : standardNames)
        folders.append(Paths::joined(home, QString::fromLatin1(name)));
    // Where the desktop says the user folders are (on Linux the XDG user folders, which the user
    // may have renamed or moved out of the home).
    const QStandardPaths::StandardLocation locations[] = {
        QStandardPaths::DesktopLocation,
        QStandardPaths::DocumentsLocation,
        QStandardPaths::DownloadLocation,
        QStandardPaths::MusicLocation,
        QStandardPaths::MoviesLocation,
        QStandardPaths::PicturesLocation,
#if QT_VERSION >= QT_VERSION_CHECK(6, 4, 0)
        QStandardPaths::PublicShareLocation,
        QStandardPaths::TemplatesLocation,
#endif
    };
    for (const QStandardPaths::StandardLocation location : locations) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (!folder.isEmpty())
            folders.append(Paths::standardized(folder));
    }
    return folders;
}

// `path` as it may appear in a scan: as given, with links resolved, and below `scanRoot` when the
// scan reaches it through a root that is itself a link.
QStringList spellingsOf(const QString& path, const QString& scanRoot,
                        const std::optional<QString>& canonicalRoot) {
    QStringList spellings{path};
    const std::optional<QString> canonical = DirectoryReader::canonicalPath(path);
    if (canonical && *canonical != path)
        spellings.append(*canonical);
    if (canonicalRoot && *canonicalRoot != scanRoot) {
        for (const QString& spelling : QStringList(spellings)) {
            if (spelling == *canonicalRoot)
                spellings.append(scanRoot);
            else if (const std::optional<QString> relative =
                         Paths::pathInside(spelling, *canonicalRoot))
                spellings.append(Paths::joined(scanRoot, *relative));
        }
    }
    return spellings;
}

} // namespace

ProtectedFolders ProtectedFolders::ofCurrentUser(const QString& scanRoot) {
    const QString home = Paths::standardized(Locations::homeDir());
    const QString root = Paths::standardized(scanRoot);
    const std::optional<QString> canonicalRoot =
        root.isEmpty() ? std::nullopt : DirectoryReader::canonicalPath(root);
    ProtectedFolders protectedFolders;
    for (const QString& spelling : spellingsOf(home, root, canonicalRoot))
        protectedFolders.homeSpellings_.insert(spelling);
    for (const QString& folder : standardFolders(home)) {
        for (const QString& spelling : spellingsOf(folder, root, canonicalRoot)) {
            if (!protectedFolders.folders_.contains(spelling))
                protectedFolders.folders_.append(spelling);
        }
    }
    return protectedFolders;
}

bool ProtectedFolders::isHome(const QString& path) const {
    return homeSpellings_.contains(path);
}

bool ProtectedFolders::allowsItem(const QString& path) const {
    const QString name = Paths::lastComponent(path);
    if (name.startsWith(u'.') && !ArtifactCatalog::isKnownArtifactName(name))
        return false;
    return std::none_of(folders_.cbegin(), folders_.cend(),
                        [&](const QString& folder) { return Paths::isUnder(folder, path); });
}

} // namespace corvane
