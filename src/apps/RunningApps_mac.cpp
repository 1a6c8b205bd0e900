#include "apps/RunningApps.h"
#include "platform/TrashService.h"

#include <QFile>
#include <libproc.h>
#include <vector>

namespace corvane::RunningApps {

// Every process's executable, as Activity Monitor sees it; this also counts helpers and
// agents inside the bundle, which would be cut off mid-write by a removal as well. The kernel
// gives the path as the volume stores it, which for a non-ASCII name may be decomposed.
bool isRunning(const InstalledApp& app) {
    const QString bundle = TrashService::canonicalPath(app.url);
    if (bundle.isEmpty() || bundle == QLatin1String("/"))
        return false;
    const int bytes = proc_listpids(PROC_ALL_PIDS, 0, nullptr, 0);
    if (bytes <= 0)
        return false;
    std::vector<pid_t> pids(static_cast<size_t>(bytes) / sizeof(pid_t) + 16);
    const int filled =
        proc_listpids(PROC_ALL_PIDS, 0, pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
    const int count = filled / static_cast<int>(sizeof(pid_t));
    char path[PROC_PIDPATHINFO_MAXSIZE];
    for (int index = 0; index < count; ++index) {
        if (pids[static_cast<size_t>(index)] <= 0)
            continue;
        if (proc_pidpath(pids[static_cast<size_t>(index)], path, sizeof path) > 0 &&
            runsFrom(QFile::decodeName(path), bundle))
            return true;
    }
    return false;
}

} // namespace corvane::RunningApps
