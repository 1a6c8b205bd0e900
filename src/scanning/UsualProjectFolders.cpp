#include "scanning/UsualProjectFolders.h"

#include "platform/PathIdentity.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace corvane::UsualProjectFolders {
namespace {

// The entry of `entries` that is `name` as the volume compares names, spelt as on disk.
QString entryFor(const QString& name, const QStringList& entries, bool ignoresCase) {
    if (entries.contains(name))
        return name;
    if (!ignoresCase)
        return {};
    for (const QString& entry : entries) {
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return entry;
    }
    return {};
}

} // namespace

QStringList find(const QString& home) {
    const QStringList entries =
        QDir(home).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    const bool ignoresCase = PathIdentity::ignoresCase(home);
    QStringList found;
    for (const QString& name : names) {
        const QString entry = entryFor(name, entries, ignoresCase);
        if (entry.isEmpty())
            continue;
        const QString path = QDir(home).filePath(entry);
        const bool seen = std::any_of(found.cbegin(), found.cend(), [&](const QString& earlier) {
            return PathIdentity::same(earlier, path);
        });
        if (!seen && QFileInfo(path).isDir())
            found.append(path);
    }
    return found;
}

} // namespace corvane::UsualProjectFolders
