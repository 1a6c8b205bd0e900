#include "platform/PermanentRemoval.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

// The first entry that stayed, and why.
struct Problem {
    QByteArray path;
    int error = 0;

    void note(const QByteArray& where, int number) {
        if (error == 0) {
            path = where;
            error = number;
        }
    }
};

QList<QByteArray> namesIn(DIR* folder) {
    QList<QByteArray> names;
    while (const dirent* entry = ::readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
    }
    return names;
}

void removeEntry(int parent, const QByteArray& name, const QByteArray& shownPath, Problem& problem);

// Every entry of the folder `name` of `parent`, working through descriptors so that nothing on
// the way can be swapped for a link to somewhere else.
void removeContents(int parent, const QByteArray& name, const QByteArray& shownPath,
                    const struct stat& info, Problem& problem) {
    // Reading, listing and deleting in it all need the owner's three rights.
    if ((info.st_mode & S_IRWXU) != S_IRWXU &&
        ::fchmodat(parent, name.constData(), (info.st_mode | S_IRWXU) & 07777, 0) != 0) {
        problem.note(shownPath, errno);
        return;
    }
    const int descriptor =
        ::openat(parent, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) {
        problem.note(shownPath, errno);
        return;
    }
    DIR* folder = ::fdopendir(descriptor);
    if (!folder) {
        problem.note(shownPath, errno);
        ::close(descriptor);
        return;
    }
    const QList<QByteArray> names = namesIn(folder);
    for (const QByteArray& child : names)
        removeEntry(::dirfd(folder), child, shownPath + '/' + child, problem);
    ::closedir(folder);
}

void removeEntry(int parent, const QByteArray& name, const QByteArray& shownPath,
                 Problem& problem) {
    struct stat info {};
    if (::fstatat(parent, name.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            problem.note(shownPath, errno);
        return;
    }
    const bool isFolder = S_ISDIR(info.st_mode);
    if (isFolder)
        removeContents(parent, name, shownPath, info, problem);
    if (::unlinkat(parent, name.constData(), isFolder ? AT_REMOVEDIR : 0) != 0 && errno != ENOENT)
        problem.note(shownPath, errno);
}

} // namespace

std::optional<QString> removeForGood(const QString& path) {
    const QByteArray bytes = QFile::encodeName(path);
    const qsizetype slash = bytes.lastIndexOf('/');
    if (slash < 0 || slash == bytes.size() - 1)
        return QStringLiteral("%1 is not a path that can be deleted").arg(path);
    const QByteArray folder = slash == 0 ? QByteArray("/") : bytes.left(slash);
    const int parent = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    Problem problem;
    removeEntry(parent, bytes.mid(slash + 1), bytes, problem);
    ::close(parent);
    if (problem.error == 0)
        return std::nullopt;
    const QString reason = QString::fromLocal8Bit(std::strerror(problem.error));
    return problem.path == bytes
               ? reason
               : QStringLiteral("%1 stayed: %2").arg(QFile::decodeName(problem.path), reason);
}

} // namespace corvane
