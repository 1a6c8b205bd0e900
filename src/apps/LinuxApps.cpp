#include "apps/LinuxApps.h"

#include "platform/Locations.h"
#include "platform/PathIdentity.h"
#include "platform/SizeCalculator.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>

namespace corvane {

namespace {

QString home() {
    return Locations::homeDir();
}

// An XDG base folder: the variable when it holds an absolute path, else the default in the home.
QString xdgHome(const char* variable, const char* inHome) {
    const QString value = qEnvironmentVariable(variable);
    if (QDir::isAbsolutePath(value))
        return QDir::cleanPath(value);
    return QDir(home()).filePath(QString::fromLatin1(inHome));
}

QStringList dataDirs() {
    QStringList dirs;
    const QStringList listed =
        qEnvironmentVariable("XDG_DATA_DIRS").split(u':', Qt::SkipEmptyParts);
    for (const QString& dir : listed)
        if (QDir::isAbsolutePath(dir))
            dirs.append(QDir::cleanPath(dir));
    if (dirs.isEmpty())
        dirs = {QStringLiteral("/usr/local/share"), QStringLiteral("/usr/share"),
                QStringLiteral("/var/lib/flatpak/exports/share"),
                QStringLiteral("/var/lib/snapd/desktop")};
    return dirs;
}

bool isAppImage(const QString& path) {
    return path.endsWith(QStringLiteral(".AppImage"), Qt::CaseInsensitive);
}

// Programs that run someone else's code: their names say nothing about the app.
bool isLauncher(const QString& name) {
    static const QSet<QString> launchers{
        QStringLiteral("env"),      QStringLiteral("sh"),       QStringLiteral("bash"),
        QStringLiteral("python"),   QStringLiteral("python3"),  QStringLiteral("perl"),
        QStringLiteral("java"),     QStringLiteral("node"),     QStringLiteral("wine"),
        QStringLiteral("flatpak"),  QStringLiteral("snap"),     QStringLiteral("sudo"),
        QStringLiteral("pkexec"),   QStringLiteral("xdg-open"), QStringLiteral("gtk-launch"),
        QStringLiteral("electron"), QStringLiteral("mono"),     QStringLiteral("dbus-send")};
    return launchers.contains(name);
}

// Folders of the XDG homes that belong to the desktop, never to one app.
bool isDesktopFolder(const QString& name) {
    static const QSet<QString> shared{QStringLiteral("applications"),
                                      QStringLiteral("icons"),
                                      QStringLiteral("mime"),
                                      QStringLiteral("fonts"),
                                      QStringLiteral("Trash"),
                                      QStringLiteral("themes"),
                                      QStringLiteral("autostart"),
                                      QStringLiteral("systemd"),
                                      QStringLiteral("flatpak"),
                                      QStringLiteral("menus"),
                                      QStringLiteral("dconf"),
                                      QStringLiteral("keyrings"),
                                      QStringLiteral("desktop-directories"),
                                      QStringLiteral("recently-used.xbel")};
    return shared.contains(name);
}

// The entry's program with PATH searched and links resolved; empty when it is not there.
QString resolvedProgram(const QString& program) {
    if (program.isEmpty())
        return {};
    const QString found =
        QDir::isAbsolutePath(program) ? program : QStandardPaths::findExecutable(program);
    if (found.isEmpty() || !QFileInfo(found).isFile())
        return {};
    return PathIdentity::resolved(found);
}

AppSource installerOf(const DesktopEntry& entry, const QString& program) {
    if (!entry.snapName.isEmpty() || program.startsWith(QLatin1String("/snap/")))
        return AppSource::snap;
    if (isAppImage(program))
        return AppSource::appImage;
    // What the user put in their home or in /usr/local, no package manager installed.
    if (PathIdentity::isInside(program, home()) ||
        PathIdentity::isInside(program, QStringLiteral("/usr/local")))
        return AppSource::other;
    return AppSource::packageManager;
}

InstalledApp appOf(const DesktopEntry& entry, const QString& program, AppSource source) {
    InstalledApp app;
    app.url = program;
    app.name = entry.name;
    app.bundleIdentifier = entry.id;
    app.source = source;
    app.desktopEntry = entry.path;
    if (!entry.icon.isEmpty())
        app.iconName = entry.icon;
    if (!entry.appImageVersion.isEmpty())
        app.version = entry.appImageVersion;
    return app;
}

} // namespace

QString LinuxApps::userEntryFolder() {
    return xdgHome("XDG_DATA_HOME", ".local/share") + QStringLiteral("/applications");
}

std::optional<QString> LinuxApps::dataRootOf(const AppDataItem& item) {
    using Kind = AppDataItem::Kind;
    QStringList roots;
    switch (item.kind) {
    case Kind::config:
        roots = {xdgHome("XDG_CONFIG_HOME", ".config")};
        break;
    case Kind::caches:
        roots = {xdgHome("XDG_CACHE_HOME", ".cache")};
        break;
    case Kind::data:
        roots = {xdgHome("XDG_DATA_HOME", ".local/share"),
                 QDir(home()).filePath(QStringLiteral("snap"))};
        break;
    case Kind::state:
        roots = {xdgHome("XDG_STATE_HOME", ".local/state")};
        break;
    default:
        return std::nullopt;
    }
    const QString parent = QFileInfo(QDir::cleanPath(item.url)).path();
    for (const QString& root : roots)
        if (PathIdentity::same(parent, root))
            return root;
    return std::nullopt;
}

QStringList LinuxApps::entryFolders() {
    QStringList folders{userEntryFolder()};
    for (const QString& dir : dataDirs())
        folders.append(dir + QStringLiteral("/applications"));
    folders.removeDuplicates();
    return folders;
}

QList<DesktopEntry> LinuxApps::entries(QStringList* problems) {
    QList<DesktopEntry> found;
    QSet<QString> seen;
    for (const QString& folder : entryFolders()) {
        QDirIterator it(folder, {QStringLiteral("*.desktop")}, QDir::Files,
                        QDirIterator::Subdirectories);
        QStringList paths;
        while (it.hasNext())
            paths.append(it.next());
        paths.sort();
        for (const QString& path : paths) {
            QString id = QDir(folder).relativeFilePath(path);
            id.chop(int(qstrlen(".desktop")));
            id.replace(u'/', u'-');
            if (seen.contains(id))
                continue;
            QString problem;
            const std::optional<DesktopEntry> entry = DesktopEntry::read(path, id, &problem);
            if (!problem.isEmpty() && problems)
                problems->append(problem);
            if (!entry)
                continue;
            seen.insert(id);
            if (!entry->hidden && !entry->noDisplay)
                found.append(*entry);
        }
    }
    return found;
}

QStringList LinuxApps::appImageFolders() {
    const QDir dir(home());
    return {dir.filePath(QStringLiteral("Applications")), dir.filePath(QStringLiteral("AppImages")),
            dir.filePath(QStringLiteral(".local/bin"))};
}

QStringList LinuxApps::identities(const DesktopEntry& entry) {
    QStringList names{entry.id, entry.startupWMClass, entry.snapName};
    const QString program = QFileInfo(entry.program).fileName();
    if (!isLauncher(program) && !isAppImage(program))
        names.append(program);
    QStringList result;
    for (const QString& name : names)
        if (name.size() > 1 && !name.startsWith(u'.') && !name.contains(u'/') &&
            !isDesktopFolder(name) && !result.contains(name))
            result.append(name);
    return result;
}

QList<DataMatch> LinuxApps::dataOf(const QStringList& identities,
                                   const std::optional<QString>& snapName) {
    using Kind = AppDataItem::Kind;
    const QList<std::pair<Kind, QString>> homes{
        {Kind::config, xdgHome("XDG_CONFIG_HOME", ".config")},
        {Kind::caches, xdgHome("XDG_CACHE_HOME", ".cache")},
        {Kind::data, xdgHome("XDG_DATA_HOME", ".local/share")},
        {Kind::state, xdgHome("XDG_STATE_HOME", ".local/state")}};
    QList<DataMatch> matches;
    for (const auto& [kind, folder] : homes) {
        for (const QString& name : identities) {
            const QString path = folder + u'/' + name;
            // Exactly this name: QFileInfo would find "Foo" for "foo" on a volume that ignores
            // case, so the folder's own listing decides.
            if (QFileInfo(path).exists() &&
                QDir(folder)
                    .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                    .contains(name))
                matches.append({kind, path, true});
        }
    }
    if (snapName && QFileInfo(SnapApps::dataFolder(*snapName)).isDir())
        matches.append({Kind::data, SnapApps::dataFolder(*snapName), true});
    return matches;
}

QStringList LinuxApps::claimedFolders(const std::optional<SnapListing>& snaps) {
    return claimedFolders(entries(), snaps);
}

QStringList LinuxApps::claimedFolders(const QList<DesktopEntry>& entries,
                                      const std::optional<SnapListing>& snaps) {
    QList<DataMatch> matches;
    for (const DesktopEntry& entry : entries)
        if (entry.flatpakId.isEmpty())
            matches.append(dataOf(identities(entry), entry.snapName.isEmpty()
                                                         ? std::nullopt
                                                         : std::optional(entry.snapName)));
    if (snaps)
        for (const SnapApp& snap : snaps->apps)
            matches.append(dataOf({snap.name}, snap.name));
    QStringList folders;
    for (const DataMatch& match : matches)
        folders.append(match.path);
    folders.removeDuplicates();
    return folders;
}

QList<InstalledApp> LinuxApps::find(const std::optional<SnapListing>& snaps,
                                    const CancellationToken& cancellation, QStringList* problems) {
    return find(entries(problems), snaps, cancellation);
}

QList<InstalledApp> LinuxApps::find(const QList<DesktopEntry>& entries,
                                    const std::optional<SnapListing>& snaps,
                                    const CancellationToken& cancellation) {
    QList<InstalledApp> apps;
    QSet<QString> programs;
    QSet<QString> snapsShown;
    for (const DesktopEntry& entry : entries) {
        cancellation.throwIfCancelled();
        // Flatpak's own listing brings its apps, with their installation.
        if (!entry.flatpakId.isEmpty())
            continue;
        const QString program = resolvedProgram(entry.program);
        const bool snap = !entry.snapName.isEmpty();
        if (program.isEmpty() && !snap)
            continue; // an entry whose program is gone: nothing installed to list
        if (snap && (!snaps || snaps->error || snapsShown.contains(entry.snapName)))
            continue;
        InstalledApp app = appOf(entry, program, installerOf(entry, program));
        if (snap) {
            const auto listed =
                std::find_if(snaps->apps.cbegin(), snaps->apps.cend(),
                             [&](const SnapApp& s) { return s.name == entry.snapName; });
            if (listed == snaps->apps.cend())
                continue;
            snapsShown.insert(entry.snapName);
            app.url = QStringLiteral("/snap/") + entry.snapName;
            app.bundleIdentifier = entry.snapName; // what snap knows it by
            app.version = listed->version;
        } else if (programs.contains(program)) {
            continue; // a second entry of the same program (a "new window" launcher)
        } else {
            programs.insert(program);
            app.sizeBytes = SizeCalculator::size(program, cancellation);
        }
        app.identities = identities(entry);
        app.data =
            measured(dataOf(app.identities, snap ? std::optional(entry.snapName) : std::nullopt),
                     cancellation);
        apps.append(app);
    }
    // Snaps without an entry (command-line snaps) and AppImages no entry names.
    if (snaps && !snaps->error) {
        for (const SnapApp& snap : snaps->apps) {
            if (snapsShown.contains(snap.name))
                continue;
            InstalledApp app;
            app.url = QStringLiteral("/snap/") + snap.name;
            app.name = snap.name;
            app.bundleIdentifier = snap.name;
            app.version = snap.version;
            app.source = AppSource::snap;
            app.identities = {snap.name};
            app.data = measured(dataOf(app.identities, snap.name), cancellation);
            apps.append(app);
        }
    }
    for (const QString& folder : appImageFolders()) {
        const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::Name);
        for (const QFileInfo& file : files) {
            const QString path = PathIdentity::resolved(file.filePath());
            if (!isAppImage(file.fileName()) || programs.contains(path))
                continue;
            programs.insert(path);
            InstalledApp app;
            app.url = path;
            app.name = file.completeBaseName();
            app.source = AppSource::appImage;
            app.sizeBytes = SizeCalculator::size(path, cancellation);
            apps.append(app);
        }
    }
    return apps;
}

} // namespace corvane
