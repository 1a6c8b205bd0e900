// The freedesktop Trash: the item moves into "files" of a Trash folder on its own volume, and a
// ".trashinfo" record in "info" says where it came from and when. Every step that can fail says
// why and leaves the item where it was. (Qt's own moveToTrash retries forever when the record
// cannot be written, so it is not used.)

#include "platform/PlatformTrash.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

// A name clash this many times over means something else is wrong.
constexpr int maximumNameAttempts = 1000;

QString systemMessage(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QByteArray bytesOf(const QString& path) {
    return QFile::encodeName(path);
}

enum class Links { followed, refused };

// A folder of the user's own, made private when it is new. On a shared volume a link is never
// taken for one; the home Trash may be a link the user made.
bool ensurePrivateFolder(const QByteArray& folder, Links links = Links::refused) {
    if (::mkdir(folder.constData(), 0700) != 0 && errno != EEXIST)
        return false;
    struct stat info {};
    const int found = links == Links::followed ? ::stat(folder.constData(), &info)
                                               : ::lstat(folder.constData(), &info);
    return found == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::getuid();
}

QByteArray parentOf(const QByteArray& path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

// The top folder of the volume that holds `path`: the last ancestor on the same device.
QByteArray volumeTop(const QByteArray& path, dev_t device) {
    QByteArray top = path;
    while (top != "/") {
        const QByteArray parent = parentOf(top);
        struct stat info {};
        if (::stat(parent.constData(), &info) != 0 || info.st_dev != device)
            break;
        top = parent;
    }
    return top;
}

// The Trash folder for an item on `device`: the home Trash when it is on the same volume, else
// the volume's own ".Trash/<uid>" (when the administrator made a sticky ".Trash") or
// ".Trash-<uid>".
std::optional<QByteArray> trashFor(const QByteArray& item, dev_t device, QString& problem) {
    const QString dataFolder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QByteArray home = bytesOf(dataFolder + QStringLiteral("/Trash"));
    if (dataFolder.isEmpty() || !QDir().mkpath(dataFolder) ||
        !ensurePrivateFolder(home, Links::followed)) {
        problem =
            QStringLiteral("The Trash folder %1 could not be created").arg(QFile::decodeName(home));
        return std::nullopt;
    }
    struct stat homeInfo {};
    if (::stat(home.constData(), &homeInfo) == 0 && homeInfo.st_dev == device)
        return home;

    const QByteArray top = volumeTop(parentOf(item), device);
    const QByteArray base = top == "/" ? QByteArray() : top;
    const QByteArray uid = QByteArray::number(::getuid());
    struct stat shared {};
    const QByteArray sharedTrash = base + "/.Trash";
    if (::lstat(sharedTrash.constData(), &shared) == 0 && S_ISDIR(shared.st_mode) &&
        (shared.st_mode & S_ISVTX) && ensurePrivateFolder(sharedTrash + '/' + uid))
        return sharedTrash + '/' + uid;
    const QByteArray ownTrash = base + "/.Trash-" + uid;
    if (ensurePrivateFolder(ownTrash))
        return ownTrash;
    problem =
        QStringLiteral("The volume %1 has no Trash that can be used").arg(QFile::decodeName(top));
    return std::nullopt;
}

// The record's two values; kept with the cleanup, they tell this entry from a later one that
// lands at the same name.
struct TrashInfo {
    QByteArray path;
    QByteArray deletionDate;

    QByteArray text() const {
        return "[Trash Info]\nPath=" + path + "\nDeletionDate=" + deletionDate + '\n';
    }
};

TrashInfo trashInfo(const QByteArray& item) {
    return {item.toPercentEncoding("/"),
            QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toUtf8()};
}

bool writeAll(int descriptor, const QByteArray& bytes) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(descriptor, bytes.constData() + written,
                                      static_cast<size_t>(bytes.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}

} // namespace

TrashMove PlatformTrash::moveToTrash(const QString& path) const {
    const QByteArray item = bytesOf(path);
    struct stat itemInfo {};
    if (::lstat(item.constData(), &itemInfo) != 0)
        return TrashMove::refused(systemMessage(errno));
    QString problem;
    const std::optional<QByteArray> trash = trashFor(item, itemInfo.st_dev, problem);
    if (!trash)
        return TrashMove::refused(problem);
    const QByteArray files = *trash + "/files";
    const QByteArray info = *trash + "/info";
    if (!ensurePrivateFolder(files) || !ensurePrivateFolder(info))
        return TrashMove::refused(QStringLiteral("The Trash folder %1 could not be prepared")
                                      .arg(QFile::decodeName(*trash)));

    const QByteArray name = item.mid(item.lastIndexOf('/') + 1);
    const TrashInfo written = trashInfo(item);
    const QByteArray record = written.text();
    for (int attempt = 1; attempt <= maximumNameAttempts; ++attempt) {
        const QByteArray candidate = attempt == 1 ? name : name + ' ' + QByteArray::number(attempt);
        const QByteArray infoPath = info + '/' + candidate + ".trashinfo";
        const QByteArray target = files + '/' + candidate;
        // The record is made first and exclusively: it reserves the name in the Trash.
        const int descriptor =
            ::open(infoPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor < 0 && errno == EEXIST)
            continue;
        if (descriptor < 0)
            return TrashMove::refused(
                QStringLiteral("The Trash could not record where the item came from: %1")
                    .arg(systemMessage(errno)));
        const bool recorded = writeAll(descriptor, record);
        const int writeError = errno;
        ::close(descriptor);
        struct stat existing {};
        const bool nameTaken = ::lstat(target.constData(), &existing) == 0;
        if (recorded && !nameTaken && ::rename(item.constData(), target.constData()) == 0)
            return TrashMove::movedTo({QFile::decodeName(target), QFile::decodeName(infoPath),
                                       QString::fromLatin1(written.path),
                                       QString::fromLatin1(written.deletionDate), std::nullopt});
        const int moveError = errno;
        ::unlink(infoPath.constData());
        if (nameTaken)
            continue;
        if (!recorded)
            return TrashMove::refused(
                QStringLiteral("The Trash could not record where the item came from: %1")
                    .arg(systemMessage(writeError)));
        return TrashMove::refused(systemMessage(moveError));
    }
    return TrashMove::refused(QStringLiteral("The Trash has no free name for this item"));
}

} // namespace corvane
