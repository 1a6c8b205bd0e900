#include "organize/StandardFolders.h"

#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace corvane::StandardFolders {
namespace {

QStringList macFolders(const QString& home) {
    QStringList folders;
    for (const char* name : {"Applications", "Desktop", "Documents", "Downloads", "Library",
                             "Movies", "Music", "Pictures", "Public"})
        folders.append(Paths::joined(home, QString::fromLatin1(name)));
    return folders;
}

QString userDirsFile(const QString& home) {
    const QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    const QString base = configHome.isEmpty() ? Paths::joined(home, QStringLiteral(".config"))
                                              : Paths::standardized(configHome);
    return Paths::joined(base, QStringLiteral("user-dirs.dirs"));
}

// The values are "$HOME/Name" or absolute paths. One equal to the home folder switches that
// folder off, by the convention of xdg-user-dirs.
std::optional<QStringList> xdgFolders(const QString& home) {
    QFile file(userDirsFile(home));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    static const QRegularExpression entry(
        QStringLiteral("^\\s*XDG_\\w+_DIR\\s*=\\s*\"?([^\"]*)\"?\\s*$"));
    QStringList folders;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        const QRegularExpressionMatch match = entry.match(line);
        if (!match.hasMatch())
            continue;
        QString value = match.captured(1);
        if (value.startsWith(QStringLiteral("$HOME")))
            value = home + value.mid(5);
        value = Paths::standardized(value);
        if (value.startsWith(u'/') && value != home)
            folders.append(value);
    }
    return folders;
}

QStringList linuxFolders(const QString& home) {
    if (std::optional<QStringList> configured = xdgFolders(home))
        return *configured;
    QStringList folders;
    for (const char* name : {"Desktop", "Documents", "Downloads", "Music", "Pictures", "Public",
                             "Templates", "Videos"})
        folders.append(Paths::joined(home, QString::fromLatin1(name)));
    return folders;
}

// Folders the system localises carry a ".localized" entry (a file or a folder).
QStringList localizedFolders(const QString& home) {
    QStringList folders;
    const QStringList names =
        QDir(home).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& name : names) {
        const QString folder = Paths::joined(home, name);
        const QFileInfo marker(Paths::joined(folder, QStringLiteral(".localized")));
        if (marker.exists() || marker.isSymLink())
            folders.append(folder);
    }
    return folders;
}

// A standard folder the user replaced by a link to another disk is still the system's folder.
bool isFolderOrLink(const QString& path) {
    const QFileInfo info(path);
    return info.isDir() || info.isSymLink();
}

} // namespace

QStringList of(const QString& home) {
    const QString cleanHome = Paths::standardized(home);
    QStringList candidates = Locations::isMac() ? macFolders(cleanHome) : linuxFolders(cleanHome);
    candidates.append(Paths::joined(cleanHome, QStringLiteral("Applications")));
    candidates += localizedFolders(cleanHome);

    QStringList folders;
    for (const QString& folder : std::as_const(candidates)) {
        if (!folders.contains(folder) && isFolderOrLink(folder))
            folders.append(folder);
    }
    return folders;
}

bool isStandard(const QString& path, const QString& home) {
    return of(home).contains(Paths::standardized(path));
}

} // namespace corvane::StandardFolders
