#include "platform/JsonFile.h"

#include "platform/InputLimits.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QTimeZone>

namespace corvane::JsonFile {
namespace {

// 2001-01-01T00:00:00Z in seconds since 1970.
constexpr qint64 referenceDateUnixSeconds = 978307200;

// A writer holds a lock for one read and write of a small file.
constexpr int lockWaitMilliseconds = 10'000;
constexpr int staleLockMilliseconds = 30'000;

} // namespace

Lock::Lock(const QString& path)
    : lock_(path + QStringLiteral(".lock")) {
    lock_.setStaleLockTime(staleLockMilliseconds);
    if (!QDir().mkpath(Paths::parentPath(path)))
        problem_ = QStringLiteral("Could not create the folder %1").arg(Paths::parentPath(path));
    else if (!lock_.tryLock(lockWaitMilliseconds))
        problem_ = QStringLiteral("%1 is being changed by another process").arg(path);
}

QByteArray serialized(const QJsonValue& value) {
    if (value.isObject())
        return QJsonDocument(value.toObject()).toJson(QJsonDocument::Indented);
    if (value.isArray())
        return QJsonDocument(value.toArray()).toJson(QJsonDocument::Indented);
    // A bare scalar: wrap it in an array to reuse Qt's number and string formatting.
    QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return text.mid(1, text.size() - 2) + '\n';
}

QString writeAtomically(const QString& path, const QByteArray& contents) {
    const QString parent = Paths::parentPath(path);
    if (!QDir().mkpath(parent))
        return QStringLiteral("Could not create the folder %1").arg(parent);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    if (file.write(contents) != contents.size()) {
        file.cancelWriting();
        return file.errorString();
    }
    if (!file.commit())
        return file.errorString();
    return {};
}

QString write(const QString& path, const QJsonValue& value) {
    return writeAtomically(path, serialized(value));
}

std::optional<QJsonValue> read(const QString& path, QString* problem) {
    const auto refuse = [&](const QString& why) -> std::optional<QJsonValue> {
        if (problem)
            *problem = InputLimits::refusal(path, why);
        return std::nullopt;
    };
    if (!QFileInfo::exists(path))
        return std::nullopt;
    const InputLimits::FileRead file = InputLimits::readFile(path);
    if (!file.bytes)
        return refuse(file.problem);
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(*file.bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return refuse(parseProblem(error));
    if (document.isObject())
        return QJsonValue(document.object());
    return QJsonValue(document.array());
}

QString parseProblem(const QJsonParseError& error) {
    return QStringLiteral("it is not valid JSON (%1 at byte %2)")
        .arg(error.errorString())
        .arg(error.offset);
}

double secondsSinceReferenceDate(const QDateTime& date) {
    return static_cast<double>(date.toMSecsSinceEpoch()) / 1000.0 -
           static_cast<double>(referenceDateUnixSeconds);
}

// Rounded to the millisecond rather than truncated, so that a date reads back as it was written.
QDateTime dateFromReferenceSeconds(double seconds) {
    const double unixSeconds = seconds + static_cast<double>(referenceDateUnixSeconds);
    return QDateTime::fromMSecsSinceEpoch(qRound64(unixSeconds * 1000.0), QTimeZone::utc());
}

} // namespace corvane::JsonFile
