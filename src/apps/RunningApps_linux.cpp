#include "apps/RunningApps.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QFile>

namespace corvane::RunningApps {

bool isRunning(const InstalledApp& app) {
    const QString bundle = TrashService::canonicalPath(app.url);
    if (bundle.isEmpty() || bundle == QLatin1String("/"))
        return false;
    const QStringList pids =
        QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& pid : pids) {
        if (pid.isEmpty() || !pid.front().isDigit())
            continue;
        // Unreadable for other users' processes, which cannot run this user's app anyway.
        const QString executable =
            QFile::symLinkTarget(QStringLiteral("/proc/") + pid + QStringLiteral("/exe"));
        if (runsFrom(executable, bundle))
            return true;
    }
    return false;
}

} // namespace corvane::RunningApps
