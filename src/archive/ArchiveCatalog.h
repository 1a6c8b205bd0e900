#pragma once

#include "archive/ArchiveTypes.h"
#include "platform/OwnFile.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace corvane {

// Every archived project, in "archive-catalog.json" in the application's support folder: a JSON
// array of records, pretty-printed with sorted keys, changed as an own file (OwnFile: under a
// lock, replaced atomically, never taken for empty when it cannot be read). Records are appended
// after an archive and updated in place after a restore; none is ever removed.
struct ArchiveCatalog {
    QString url = defaultURL();

    static QString defaultURL();

    struct Contents {
        QList<ArchiveRecord> records;
        // Why the file could not be read, or not all of it, for the user.
        std::optional<QString> problem;
    };
    Contents read() const;
    // The records this version reads.
    QList<ArchiveRecord> load() const { return read().records; }

    // Each changes the catalog as it is stored now, under its lock.
    OwnFile::Outcome append(const ArchiveRecord& record) const;
    // Changes the record with `id`, if there is one. An unreadable catalog is left alone.
    OwnFile::Outcome change(const QUuid& id, const std::function<void(ArchiveRecord&)>& edit) const;
    // Replaces the readable records with `records`; records this version cannot read stay.
    // Returns an empty string on success, else the error's description.
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

private:
    OwnFile file() const;
    static std::optional<ArchiveRecord> recordFromValue(const QJsonValue& value);
};

} // namespace corvane
