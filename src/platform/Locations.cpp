#include "platform/Locations.h"

#include <QDir>

namespace corvane::Locations {
namespace {

QString environment(const char* name) {
    return qEnvironmentVariable(name);
}

struct ToolDefault {
    const char* name;
    const char* macPath;
    const char* linuxPath;
};

// Where each tool lives; Debian keeps lsof in /usr/bin.
ToolDefault defaultFor(Tool tool) {
    switch (tool) {
    case Tool::git:
        return {"git", "/usr/bin/git", "/usr/bin/git"};
    case Tool::lsof:
        return {"lsof", "/usr/sbin/lsof", "/usr/bin/lsof"};
    case Tool::ssh:
        return {"ssh", "/usr/bin/ssh", "/usr/bin/ssh"};
    case Tool::tar:
        return {"tar", "/usr/bin/tar", "/usr/bin/tar"};
    case Tool::ps:
        return {"ps", "/bin/ps", "/bin/ps"};
    case Tool::sh:
        return {"sh", "/bin/sh", "/bin/sh"};
    case Tool::xcrun:
        return {"xcrun", "/usr/bin/xcrun", "/usr/bin/xcrun"};
    case Tool::xcodebuild:
        return {"xcodebuild", "/usr/bin/xcodebuild", "/usr/bin/xcodebuild"};
    case Tool::codesign:
        return {"codesign", "/usr/bin/codesign", "/usr/bin/codesign"};
    case Tool::mdls:
        return {"mdls", "/usr/bin/mdls", "/usr/bin/mdls"};
    case Tool::open:
        return {"open", "/usr/bin/open", "/usr/bin/xdg-open"};
    }
    return {"", "", ""};
}

} // namespace

bool isMac() {
#ifdef Q_OS_MACOS
    return true;
#else
    return false;
#endif
}

QString homeDir() {
    const QString home = environment("HOME");
    return QDir::cleanPath(home.isEmpty() ? QDir::homePath() : home);
}

QString libraryDir() {
    return homeDir() + QStringLiteral("/Library");
}

QString applicationSupportRoot() {
    return libraryDir() + QStringLiteral("/Application Support");
}

QString appSupportDir() {
    const QString appFolder = QStringLiteral("Corvane Clean");
    if (isMac())
        return applicationSupportRoot() + u'/' + appFolder;
    const QString dataHome = environment("XDG_DATA_HOME");
    const QString base =
        dataHome.isEmpty() ? homeDir() + QStringLiteral("/.local/share") : dataHome;
    return QDir::cleanPath(base) + u'/' + appFolder;
}

QString applicationsDir() {
    const QString overridden = environment("CORVANE_APPLICATIONS_DIR");
    return overridden.isEmpty() ? QStringLiteral("/Applications") : overridden;
}

QString volumesDir() {
    const QString overridden = environment("CORVANE_VOLUMES_DIR");
    return overridden.isEmpty() ? QStringLiteral("/Volumes") : overridden;
}

QString trashStandIn() {
    return environment("CORVANE_TRASH_DIR");
}

QString toolPath(const QString& name, const QString& defaultPath) {
    const QString variable = QStringLiteral("CORVANE_TOOL_") + name.toUpper();
    const QString overridden = qEnvironmentVariable(variable.toUtf8().constData());
    return overridden.isEmpty() ? defaultPath : overridden;
}

QString toolPath(Tool tool) {
    const ToolDefault entry = defaultFor(tool);
    return toolPath(QString::fromLatin1(entry.name),
                    QString::fromLatin1(isMac() ? entry.macPath : entry.linuxPath));
}

} // namespace corvane::Locations
