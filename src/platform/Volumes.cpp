#include "platform/Volumes.h"

#include "platform/Paths.h"

#include <QFile>
#include <sys/stat.h>

namespace corvane::Volumes {

// The device number is what rename(2) compares: two paths with one device number can be
// renamed into each other, never copied.
std::optional<quint64> identifier(const QString& path) {
    struct stat status {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return static_cast<quint64>(status.st_dev);
}

QString nearestExisting(const QString& path) {
    QString current = Paths::standardized(path);
    while (!identifier(current) && current != QStringLiteral("/"))
        current = Paths::parentPath(current);
    return current;
}

bool areOnSameVolume(const QString& a, const QString& b) {
    const std::optional<quint64> first = identifier(a);
    const std::optional<quint64> second = identifier(nearestExisting(b));
    return first && second && *first == *second;
}

} // namespace corvane::Volumes
