#pragma once

#include "archive/ArchiveTypes.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <optional>

namespace corvane {

// Every archived project, in "archive-catalog.json" in the application's support folder: a JSON
// array of records, pretty-printed with sorted keys, replaced atomically. Records are appended
// after an archive and updated in place after a restore; none is ever removed.
struct ArchiveCatalog {
    QString url = defaultURL();

    static QString defaultURL();

    // The records; a missing, unreadable or undecodable file is an empty list.
    QList<ArchiveRecord> load() const;
    // Writes the whole list. Returns an empty string on success, else the error's description.
    QString save(const QList<ArchiveRecord>& records) const;

    // The record's JSON form: "id" (upper-case UUID), "name", "originalPath", "location" (one key
    // naming the case), "archivedAt" (seconds since 2001), "agentSessionCount", and, when set,
    // "restoredAt", "restoredPath" and "relink".
    static QJsonObject recordJson(const ArchiveRecord& record);
    // Nothing, with `error` set to why, when the object is not a record.
    static std::optional<ArchiveRecord> recordFromJson(const QJsonObject& object,
                                                       QString* error = nullptr);
    static QJsonObject locationJson(const ArchiveLocation& location);
    // Fails with "Invalid number of keys found, expected one." for zero or several keys.
    static std::optional<ArchiveLocation> locationFromJson(const QJsonObject& object,
                                                           QString* error = nullptr);
};

} // namespace corvane
