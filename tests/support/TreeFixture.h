#pragma once

// Building real folder trees for walker and size tests, and running a piece of a test without
// root's right to read everything.

#include "support/TestEnvironment.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <optional>
#include <ostream>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Readable failure messages for paths.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace corvane::test {

inline QString makeFolder(const QString& path) {
    QDir().mkpath(path);
    return path;
}

inline void makeLink(const QString& target, const QString& link) {
    QDir().mkpath(QFileInfo(link).path());
    if (::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) != 0)
        std::abort();
}

// A second name for the file `existing`; the folder of `link` is made first.
inline void makeHardLink(const QString& existing, const QString& link) {
    QDir().mkpath(QFileInfo(link).path());
    if (::link(QFile::encodeName(existing).constData(), QFile::encodeName(link).constData()) != 0)
        std::abort();
}

// Allocated bytes of one file as the file system reports them.
inline qint64 allocatedBytes(const QString& path) {
    struct stat info {};
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return static_cast<qint64>(info.st_blocks) * 512;
}

// Writes `bytes` bytes of real data (so they are allocated, not a hole).
inline void writeFileOfSize(const QString& path, qsizetype bytes) {
    writeFile(path, QByteArray(bytes, 'x'));
}

// Runs `body` in a forked child that has given up root's right to read every folder, and returns
// what it printed; nothing when it could not run or failed. Without root privileges the body runs
// in this process. `reachable` is made traversable for the unprivileged user first.
inline std::optional<QByteArray> runUnprivileged(const QString& reachable,
                                                 const std::function<QByteArray()>& body) {
    if (::geteuid() != 0)
        return body();
    // The temporary home is private to root; the fixture must be reachable to be unreadable.
    for (QString folder = reachable; folder.startsWith(QDir::tempPath() + u'/');
         folder = QFileInfo(folder).path())
        ::chmod(QFile::encodeName(folder).constData(), 0755);
    const passwd* nobody = ::getpwnam("nobody");
    const uid_t uid = nobody ? nobody->pw_uid : 65534;
    const gid_t gid = nobody ? nobody->pw_gid : 65534;
    int pipeFds[2];
    if (::pipe(pipeFds) != 0)
        return std::nullopt;
    const pid_t child = ::fork();
    if (child < 0)
        return std::nullopt;
    if (child == 0) {
        ::close(pipeFds[0]);
        if (::setgroups(0, nullptr) != 0 || ::setgid(gid) != 0 || ::setuid(uid) != 0)
            ::_exit(3);
        QByteArray output;
        try {
            output = body();
        } catch (...) {
            ::_exit(4);
        }
        for (qsizetype written = 0; written < output.size();) {
            const ssize_t n = ::write(pipeFds[1], output.constData() + written,
                                      static_cast<size_t>(output.size() - written));
            if (n <= 0)
                ::_exit(5);
            written += n;
        }
        ::_exit(0);
    }
    ::close(pipeFds[1]);
    QByteArray output;
    char chunk[4096];
    for (ssize_t n; (n = ::read(pipeFds[0], chunk, sizeof chunk)) != 0;) {
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            break;
        output.append(chunk, n);
    }
    ::close(pipeFds[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;
    return output;
}

} // namespace corvane::test
