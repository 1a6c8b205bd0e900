#include "platform/FullDiskAccess.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <cerrno>
#include <dirent.h>

namespace corvane {

FullDiskAccess fullDiskAccess() {
    // There is no API to ask; the privacy layer answers EPERM where a plain permission problem
    // answers EACCES. Several folders, since any one of them may be missing on a fresh account.
    const char* const guarded[] = {"Safari", "Mail", "Application Support/com.apple.TCC"};
    for (const char* folder : guarded) {
        const QString path = Paths::joined(Locations::libraryDir(), QString::fromUtf8(folder));
        DIR* dir = ::opendir(path.toLocal8Bit().constData());
        if (dir) {
            ::closedir(dir);
            return FullDiskAccess::Granted;
        }
        if (errno == EPERM)
            return FullDiskAccess::Missing;
    }
    // None of them exists: nothing is hidden from the app either.
    return FullDiskAccess::Granted;
}

} // namespace corvane
