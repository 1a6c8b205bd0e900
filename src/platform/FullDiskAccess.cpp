#include "platform/FullDiskAccess.h"

#include <QFile>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

namespace {

GuardedRead fromError(int error) {
    return error == EPERM ? GuardedRead::Refused : GuardedRead::Unknown;
}

GuardedRead readFolder(const QByteArray& path) {
    DIR* dir = ::opendir(path.constData());
    if (!dir)
        return fromError(errno);
    errno = 0;
    // The end of the listing (null with errno unchanged) is a successful read too.
    const bool listed = ::readdir(dir) != nullptr || errno == 0;
    const int error = errno;
    ::closedir(dir);
    return listed ? GuardedRead::Read : fromError(error);
}

GuardedRead readFile(const QByteArray& path) {
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return fromError(errno);
    char header[16];
    const ssize_t count = ::read(fd, header, sizeof header);
    const int error = errno;
    ::close(fd);
    return count >= 0 ? GuardedRead::Read : fromError(error);
}

} // namespace

GuardedRead readGuarded(const QString& path) {
    const QByteArray encoded = QFile::encodeName(path);
    struct stat status {};
    if (::lstat(encoded.constData(), &status) != 0)
        return fromError(errno);
    if (S_ISDIR(status.st_mode))
        return readFolder(encoded);
    if (S_ISREG(status.st_mode))
        return readFile(encoded);
    return GuardedRead::Unknown;
}

FullDiskAccess fullDiskAccessFrom(const QList<GuardedRead>& reads) {
    for (const GuardedRead read : reads) {
        if (read == GuardedRead::Read)
            return FullDiskAccess::Granted;
        if (read == GuardedRead::Refused)
            return FullDiskAccess::Missing;
    }
    return FullDiskAccess::Granted;
}

} // namespace corvane
