#include "apps/RunningApps.h"

#include "platform/Paths.h"

namespace corvane::RunningApps {

bool runsFrom(const QString& executable, const QString& bundle) {
    const QString folder = Paths::composed(bundle);
    const QString path = Paths::composed(executable);
    return path != folder && Paths::isUnder(path, folder);
}

} // namespace corvane::RunningApps
