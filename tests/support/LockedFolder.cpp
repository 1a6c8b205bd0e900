#include "support/LockedFolder.h"

#include <QDir>
#include <QFile>

#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace corvane::test {
namespace {

bool setImmutable([[maybe_unused]] const QString& folder, [[maybe_unused]] bool on) {
#ifdef Q_OS_LINUX
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY);
    if (descriptor < 0)
        return false;
    int flags = 0;
    bool done = ::ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0;
    flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    done = done && ::ioctl(descriptor, FS_IOC_SETFLAGS, &flags) == 0;
    ::close(descriptor);
    return done;
#else
    return false;
#endif
}

} // namespace

LockedFolder::LockedFolder(const QString& folder)
    : folder_(folder)
    , immutable_(setImmutable(folder, true)) {
    if (!immutable_)
        QFile::setPermissions(folder_, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
}

LockedFolder::~LockedFolder() {
    if (immutable_)
        setImmutable(folder_, false);
    QFile::setPermissions(folder_,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

bool LockedFolder::refusesMoves(const QString& elsewhere) const {
    const QString probe = elsewhere + QStringLiteral("/probe");
    if (QDir().rename(folder_, probe)) {
        QDir().rename(probe, folder_);
        return false;
    }
    return true;
}

} // namespace corvane::test
