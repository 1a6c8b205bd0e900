#include "platform/Paths.h"

#include "platform/Locations.h"

#include <QDir>

namespace corvane::Paths {

QString standardized(const QString& path) {
    if (path.isEmpty())
        return path;
    return QDir::cleanPath(path);
}

QString absoluteStandardized(const QString& path) {
    return standardized(QDir::current().absoluteFilePath(path));
}

QString withPrivatePrefix(const QString& path, bool macRules) {
    if (macRules && (path.startsWith(u"/tmp/") || path.startsWith(u"/var/")))
        return QStringLiteral("/private") + path;
    return path;
}

QString withPrivatePrefix(const QString& path) {
    return withPrivatePrefix(path, Locations::isMac());
}

QString normalized(const QString& path) {
    return withPrivatePrefix(standardized(path));
}

bool isUnder(const QString& path, const QString& folder) {
    // No folder holds nothing: an empty one must never stand for "anywhere".
    if (folder.isEmpty())
        return false;
    if (path == folder)
        return true;
    if (folder.endsWith(u'/'))
        return path.startsWith(folder);
    return path.size() > folder.size() && path.startsWith(folder) && path[folder.size()] == u'/';
}

std::optional<QString> pathInside(const QString& path, const QString& folder) {
    if (path == folder || !isUnder(path, folder))
        return std::nullopt;
    return path.mid(folder.endsWith(u'/') ? folder.size() : folder.size() + 1);
}

QString withTilde(const QString& path, const QString& home) {
    if (path == home)
        return QStringLiteral("~");
    if (const std::optional<QString> inside = pathInside(path, home))
        return QStringLiteral("~/") + *inside;
    return path;
}

QString composed(const QString& path) {
    return path.normalized(QString::NormalizationForm_C);
}

QString lastComponent(const QString& path) {
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash < 0 ? path : path.mid(slash + 1);
}

QString parentPath(const QString& path) {
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash <= 0)
        return QStringLiteral("/");
    return path.left(slash);
}

QString joined(const QString& folder, const QString& name) {
    return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

} // namespace corvane::Paths
