// Whether an entry of the Trash is still the one a recorded move put there.

#include "platform/InputLimits.h"
#include "platform/PlatformTrash.h"

#include <QFile>
#include <sys/stat.h>

namespace corvane {
namespace {

bool isPresent(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

qint64 modifiedNanoseconds(const struct stat& info) {
#ifdef __APPLE__
    const timespec& time = info.st_mtimespec;
#else
    const timespec& time = info.st_mtim;
#endif
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// The "Path=" and "DeletionDate=" values of a freedesktop ".trashinfo" record.
struct RecordValues {
    QString path;
    QString deletionDate;
};

std::optional<RecordValues> readRecord(const QString& infoPath, QString* problem) {
    const InputLimits::FileRead file = InputLimits::readFile(infoPath, InputLimits::smallFileBytes);
    if (!file.bytes) {
        if (problem)
            *problem = InputLimits::refusal(infoPath, file.problem);
        return std::nullopt;
    }
    RecordValues values;
    const QList<QByteArray> lines = file.bytes->split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("Path="))
            values.path = QString::fromLatin1(line.mid(5));
        else if (line.startsWith("DeletionDate="))
            values.deletionDate = QString::fromLatin1(line.mid(13));
    }
    return values;
}

TrashLocation::Entry byRecord(const TrashLocation& location, const QString& originalPath,
                              QString* problem) {
    const std::optional<RecordValues> record = readRecord(location.infoPath, problem);
    // Without its record the entry can't be told from another one at the same name.
    if (!record)
        return TrashLocation::Entry::another;
    if (location.recordedPath.isEmpty()) {
        const QString expected =
            QString::fromLatin1(QFile::encodeName(originalPath).toPercentEncoding("/"));
        return record->path == expected ? TrashLocation::Entry::same
                                        : TrashLocation::Entry::another;
    }
    const bool same =
        record->path == location.recordedPath && record->deletionDate == location.deletionDate;
    return same ? TrashLocation::Entry::same : TrashLocation::Entry::another;
}

} // namespace

std::optional<FileIdentity> FileIdentity::of(const QString& path) {
    struct stat info {};
    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return FileIdentity{qint64(info.st_dev), qint64(info.st_ino), qint64(info.st_size),
                        modifiedNanoseconds(info)};
}

TrashLocation::Entry TrashLocation::entry(const QString& originalPath, QString* problem) const {
    if (path.isEmpty() || !isPresent(path))
        return Entry::gone;
    if (identity)
        return FileIdentity::of(path) == identity ? Entry::same : Entry::another;
    if (!infoPath.isEmpty())
        return byRecord(*this, originalPath, problem);
    return Entry::unknown;
}

} // namespace corvane
