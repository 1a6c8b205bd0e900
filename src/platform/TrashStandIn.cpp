#include "platform/TrashStandIn.h"

#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace corvane {
namespace {

// A name clash this many times over means something else is wrong.
constexpr int maximumNameAttempts = 1000;

bool isPresent(const QByteArray& path) {
    struct stat info {};
    return ::lstat(path.constData(), &info) == 0;
}

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace

TrashMove moveIntoStandIn(const QString& path, const QString& folder) {
    const QByteArray item = QFile::encodeName(path);
    if (!isPresent(item))
        return TrashMove::refused(systemMessage(errno));
    if (!QDir().mkpath(folder))
        return TrashMove::refused(
            QStringLiteral("The Trash folder %1 could not be created").arg(folder));
    const QString name = Paths::lastComponent(Paths::standardized(path));
    for (int attempt = 1; attempt <= maximumNameAttempts; ++attempt) {
        const QString candidate =
            Paths::joined(folder, attempt == 1 ? name : name + QStringLiteral(" %1").arg(attempt));
        const QByteArray target = QFile::encodeName(candidate);
        // Checked, then renamed: only the test that owns the folder ever fills it.
        if (isPresent(target))
            continue;
        if (std::rename(item.constData(), target.constData()) != 0)
            return TrashMove::refused(systemMessage(errno));
        return TrashMove::movedTo({candidate, {}, {}, {}, FileIdentity::of(candidate)});
    }
    return TrashMove::refused(QStringLiteral("The Trash has no free name for this item"));
}

} // namespace corvane
