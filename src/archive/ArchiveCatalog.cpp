#include "archive/ArchiveCatalog.h"

#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QJsonArray>
#include <QTimeZone>
#include <cmath>

namespace corvane {
namespace {

const QString idKey = QStringLiteral("id");
const QString nameKey = QStringLiteral("name");
const QString originalPathKey = QStringLiteral("originalPath");
const QString locationKey = QStringLiteral("location");
const QString archivedAtKey = QStringLiteral("archivedAt");
const QString sessionCountKey = QStringLiteral("agentSessionCount");
const QString restoredAtKey = QStringLiteral("restoredAt");
const QString restoredPathKey = QStringLiteral("restoredPath");
const QString restoresKey = QStringLiteral("restores");
const QString restoreDateKey = QStringLiteral("date");
const QString restorePathKey = QStringLiteral("path");
const QString relinkKey = QStringLiteral("relink");
const QString verifiedByKey = QStringLiteral("verifiedBy");

const QString folderKey = QStringLiteral("folder");
const QString sshKey = QStringLiteral("ssh");
const QString pathKey = QStringLiteral("path");
const QString userKey = QStringLiteral("user");
const QString hostKey = QStringLiteral("host");
const QString basePathKey = QStringLiteral("basePath");

// Rounded to the millisecond rather than truncated, so that a date reads back as it was written.
QDateTime dateFrom(double seconds) {
    const QDateTime reference(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return reference.addMSecs(qRound64(seconds * 1000.0));
}

template <typename T> std::optional<T> failure(QString* error, const QString& message) {
    if (error)
        *error = message;
    return std::nullopt;
}

QString missing(const QString& key) {
    return QStringLiteral("The key \"%1\" is missing or has the wrong type.").arg(key);
}

// The text values of `keys` in `object`; nothing when one is absent or not text.
std::optional<QStringList> textsOf(const QJsonObject& object, const QStringList& keys,
                                   QString* error) {
    QStringList texts;
    for (const QString& key : keys) {
        const QJsonValue value = object.value(key);
        if (!value.isString())
            return failure<QStringList>(error, missing(key));
        texts.append(value.toString());
    }
    return texts;
}

// A whole number as the encoder writes a signed 64-bit integer; a fraction is not one.
std::optional<qint64> integerOf(const QJsonValue& value) {
    if (!value.isDouble() || std::trunc(value.toDouble()) != value.toDouble())
        return std::nullopt;
    return value.toInteger();
}

// Absent is none; anything but a list of {date, path} is unreadable.
std::optional<QList<ArchiveRestore>> restoresOf(const QJsonValue& value) {
    if (value.isUndefined() || value.isNull())
        return QList<ArchiveRestore>();
    if (!value.isArray())
        return std::nullopt;
    QList<ArchiveRestore> restores;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& entry : array) {
        const QJsonValue date = entry[restoreDateKey];
        const QJsonValue path = entry[restorePathKey];
        if (!date.isDouble() || !path.isString())
            return std::nullopt;
        restores.append({dateFrom(date.toDouble()), path.toString()});
    }
    return restores;
}

} // namespace

QString ArchiveCatalog::defaultURL() {
    return Paths::joined(Locations::appSupportDir(), QStringLiteral("archive-catalog.json"));
}

std::optional<ArchiveRecord> ArchiveCatalog::recordFromValue(const QJsonValue& value) {
    return value.isObject() ? recordFromJson(value.toObject()) : std::nullopt;
}

OwnFile ArchiveCatalog::file() const {
    return OwnFile(url, QStringLiteral("The archive catalog"),
                   {OwnFile::Layout::array, {}, [](const QJsonValue& value) {
                        return recordFromValue(value).has_value();
                    }});
}

ArchiveCatalog::Contents ArchiveCatalog::read() const {
    OwnFile::Contents contents = file().load();
    return {decodedRecords<ArchiveRecord>(contents.records, recordFromValue),
            std::move(contents.problem)};
}

OwnFile::Outcome ArchiveCatalog::append(const ArchiveRecord& record) const {
    return file().update(
        [&record](QList<QJsonValue>& records) { records.append(recordJson(record)); });
}

OwnFile::Outcome ArchiveCatalog::change(const QUuid& id,
                                        const std::function<void(ArchiveRecord&)>& edit) const {
    const auto changing = [&](QList<QJsonValue>& records) {
        for (QJsonValue& value : records) {
            std::optional<ArchiveRecord> record = recordFromValue(value);
            if (!record || record->id != id)
                continue;
            edit(*record);
            value = recordJson(*record);
        }
    };
    return file().update(changing, OwnFile::WhenUnreadable::refuse);
}

QString ArchiveCatalog::save(const QList<ArchiveRecord>& records) const {
    return file()
        .update([&records](QList<QJsonValue>& stored) {
            stored.clear();
            for (const ArchiveRecord& record : records)
                stored.append(recordJson(record));
        })
        .error;
}

QJsonObject ArchiveCatalog::recordJson(const ArchiveRecord& record) {
    QJsonObject object{
        {idKey, record.id.toString(QUuid::WithoutBraces).toUpper()},
        {nameKey, record.name},
        {originalPathKey, record.originalPath},
        {locationKey, locationJson(record.location)},
        {archivedAtKey, JsonFile::secondsSinceReferenceDate(record.archivedAt)},
        {sessionCountKey, record.agentSessionCount},
        {verifiedByKey, verificationKey(record.verifiedBy)},
    };
    if (record.restoredAt)
        object.insert(restoredAtKey, JsonFile::secondsSinceReferenceDate(*record.restoredAt));
    if (record.restoredPath)
        object.insert(restoredPathKey, *record.restoredPath);
    if (record.relink)
        object.insert(relinkKey, *record.relink);
    if (!record.restores.isEmpty()) {
        QJsonArray restores;
        for (const ArchiveRestore& restore : record.restores)
            restores.append(
                QJsonObject{{restoreDateKey, JsonFile::secondsSinceReferenceDate(restore.date)},
                            {restorePathKey, restore.path}});
        object.insert(restoresKey, restores);
    }
    return object;
}

std::optional<ArchiveRecord> ArchiveCatalog::recordFromJson(const QJsonObject& object,
                                                            QString* error) {
    ArchiveRecord record;
    record.id = QUuid::fromString(object.value(idKey).toString());
    if (record.id.isNull())
        return failure<ArchiveRecord>(error, missing(idKey));
    const std::optional<QStringList> texts = textsOf(object, {nameKey, originalPathKey}, error);
    if (!texts)
        return std::nullopt;
    record.name = texts->at(0);
    record.originalPath = texts->at(1);

    const QJsonValue location = object.value(locationKey);
    if (!location.isObject())
        return failure<ArchiveRecord>(error, missing(locationKey));
    const std::optional<ArchiveLocation> decoded = locationFromJson(location.toObject(), error);
    if (!decoded)
        return std::nullopt;
    record.location = *decoded;

    const QJsonValue archivedAt = object.value(archivedAtKey);
    if (!archivedAt.isDouble())
        return failure<ArchiveRecord>(error, missing(archivedAtKey));
    record.archivedAt = dateFrom(archivedAt.toDouble());
    const std::optional<qint64> count = integerOf(object.value(sessionCountKey));
    if (!count)
        return failure<ArchiveRecord>(error, missing(sessionCountKey));
    record.agentSessionCount = *count;

    // Optional keys: absent or null is unset, anything else must have the right type.
    const QJsonValue restoredAt = object.value(restoredAtKey);
    const QJsonValue restoredPath = object.value(restoredPathKey);
    const QJsonValue relink = object.value(relinkKey);
    if (restoredAt.isDouble())
        record.restoredAt = dateFrom(restoredAt.toDouble());
    else if (!restoredAt.isUndefined() && !restoredAt.isNull())
        return failure<ArchiveRecord>(error, missing(restoredAtKey));
    if (restoredPath.isString())
        record.restoredPath = restoredPath.toString();
    else if (!restoredPath.isUndefined() && !restoredPath.isNull())
        return failure<ArchiveRecord>(error, missing(restoredPathKey));
    // Records written before digests were compared were checked by counting.
    record.verifiedBy = verificationFromKey(object.value(verifiedByKey).toString());
    if (relink.isObject())
        record.relink = relink.toObject();
    else if (!relink.isUndefined() && !relink.isNull())
        return failure<ArchiveRecord>(error, missing(relinkKey));
    const std::optional<QList<ArchiveRestore>> restores = restoresOf(object.value(restoresKey));
    if (!restores)
        return failure<ArchiveRecord>(error, missing(restoresKey));
    record.restores = *restores;
    return record;
}

QJsonObject ArchiveCatalog::locationJson(const ArchiveLocation& location) {
    if (location.kind == ArchiveLocation::Case::folder)
        return {{folderKey, QJsonObject{{pathKey, location.path}}}};
    return {{sshKey, QJsonObject{{userKey, location.user},
                                 {hostKey, location.host},
                                 {basePathKey, location.basePath}}}};
}

std::optional<ArchiveLocation> ArchiveCatalog::locationFromJson(const QJsonObject& object,
                                                                QString* error) {
    if (object.size() != 1)
        return failure<ArchiveLocation>(
            error, QStringLiteral("Invalid number of keys found, expected one."));
    const QString kind = object.begin().key();
    const QJsonValue inner = object.begin().value();
    if (kind != folderKey && kind != sshKey)
        return failure<ArchiveLocation>(
            error, QStringLiteral("Unknown kind of location \"%1\".").arg(kind));
    if (!inner.isObject())
        return failure<ArchiveLocation>(error, missing(kind));
    if (kind == folderKey) {
        const std::optional<QStringList> path = textsOf(inner.toObject(), {pathKey}, error);
        if (!path)
            return std::nullopt;
        return ArchiveLocation::folder(path->at(0));
    }
    const std::optional<QStringList> texts =
        textsOf(inner.toObject(), {userKey, hostKey, basePathKey}, error);
    if (!texts)
        return std::nullopt;
    return ArchiveLocation::ssh(texts->at(0), texts->at(1), texts->at(2));
}

} // namespace corvane
