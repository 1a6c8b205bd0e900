#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonValue>
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

// The parsed contents, or nothing when the file is missing, unreadable or not JSON.
std::optional<QJsonValue> read(const QString& path);

double secondsSinceReferenceDate(const QDateTime& date);
QDateTime dateFromReferenceSeconds(double seconds);

} // namespace corvane::JsonFile
