#include "platform/PathIdentity.h"

#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace corvane::PathIdentity {

// The part that asks the volume; one file per platform.
bool volumeIgnoresCase(const QByteArray& existingPath);

namespace {

// The system's own limit on links followed while resolving one path; a loop stops here.
constexpr int maxLinkHops = 40;

std::optional<QString> linkTarget(const QString& path) {
    const QByteArray encoded = QFile::encodeName(path);
    struct stat info {};
    if (::lstat(encoded.constData(), &info) != 0 || !S_ISLNK(info.st_mode))
        return std::nullopt;
    std::vector<char> buffer(static_cast<size_t>(info.st_size > 0 ? info.st_size : 255) + 1);
    const ssize_t length = ::readlink(encoded.constData(), buffer.data(), buffer.size());
    if (length < 0 || static_cast<size_t>(length) >= buffer.size())
        return std::nullopt;
    return QFile::decodeName(QByteArray(buffer.data(), length));
}

QString resolvedFrom(const QString& absolutePath, int& hops) {
    QString result = QStringLiteral("/");
    for (const QString& part : absolutePath.split(u'/', Qt::SkipEmptyParts)) {
        if (part == u".")
            continue;
        if (part == u"..") {
            result = Paths::parentPath(result);
            continue;
        }
        const QString next = Paths::joined(result, part);
        const std::optional<QString> target =
            hops < maxLinkHops ? linkTarget(next) : std::optional<QString>();
        if (!target) {
            result = next;
            continue;
        }
        ++hops;
        result =
            resolvedFrom(target->startsWith(u'/') ? *target : Paths::joined(result, *target), hops);
    }
    return result;
}

// The nearest folder of a resolved path that exists: the one whose volume decides.
QByteArray nearestExisting(const QString& resolvedPath) {
    QString existing = resolvedPath;
    struct stat info {};
    while (existing != u'/' && ::lstat(QFile::encodeName(existing).constData(), &info) != 0)
        existing = Paths::parentPath(existing);
    return QFile::encodeName(existing);
}

// `path` below or at `folder`, both resolved, with the case rule of the folder's volume. Only the
// folder's volume counts: whatever lies inside it at a mount point of another volume is reached
// through the folder's own names first.
bool resolvedIsInside(const QString& path, const QString& folder) {
    if (Paths::isUnder(path, folder))
        return true;
    if (!volumeIgnoresCase(nearestExisting(folder)))
        return false;
    return Paths::isUnder(path.toCaseFolded(), folder.toCaseFolded());
}

} // namespace

QString resolved(const QString& path) {
    int hops = 0;
    return resolvedFrom(QDir::current().absoluteFilePath(path), hops);
}

bool ignoresCase(const QString& path) {
    return volumeIgnoresCase(nearestExisting(resolved(path)));
}

bool same(const QString& a, const QString& b) {
    if (a.isEmpty() || b.isEmpty())
        return false;
    const QString first = resolved(a);
    const QString second = resolved(b);
    return first == second ||
           (first.compare(second, Qt::CaseInsensitive) == 0 && ignoresCase(second));
}

bool isInside(const QString& path, const QString& folder) {
    if (path.isEmpty() || folder.isEmpty())
        return false;
    return resolvedIsInside(resolved(path), resolved(folder));
}

} // namespace corvane::PathIdentity
