#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonParseError>
#include <QJsonValue>
#include <QLockFile>
#include <QString>
#include <optional>

// The system's own JSON files: pretty-printed with sorted keys (QJsonObject keeps its keys
// sorted), replaced atomically, dates stored as seconds since 2001-01-01 00:00:00 UTC.
namespace corvane::JsonFile {

QByteArray serialized(const QJsonValue& value);

// Writes to a temporary file beside `path` and renames it over `path`, creating the parent
// folder first. Returns an empty string on success, else a message for the user.
QString writeAtomically(const QString& path, const QByteArray& contents);
QString write(const QString& path, const QJsonValue& value);

// The parsed contents, or nothing when the file is missing, unreadable or not JSON: for files of
// other programs. The app's own files are read through OwnFile, which tells these apart. For a
// file that is there but unreadable, over InputLimits::fileBytes or not JSON, `problem` says
// so, naming the file.
std::optional<QJsonValue> read(const QString& path, QString* problem = nullptr);

// Why a parse failed, as the reason in a message that names the file: "it is not valid JSON
// (unterminated object at byte 12)".
QString parseProblem(const QJsonParseError& error);

// Holds the lock of the file at `path` (a ".lock" file beside it) for as long as it lives, so that
// one read, change and write of the file never interleaves with another's, in this process or
// another. The folder is made first. A holder that keeps it longer than the wait has hung or
// died; the lock of a process that died is taken over after its stale time.
class Lock {
public:
    explicit Lock(const QString& path);
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    // Empty while the lock is held; otherwise why it could not be taken, for the user.
    const QString& problem() const { return problem_; }

private:
    QLockFile lock_;
    QString problem_;
};

double secondsSinceReferenceDate(const QDateTime& date);
QDateTime dateFromReferenceSeconds(double seconds);

} // namespace corvane::JsonFile
