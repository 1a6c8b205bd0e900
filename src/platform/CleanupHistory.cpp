#include "platform/CleanupHistory.h"

#include "platform/CheckedSum.h"
#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

#include <QFileInfo>
#include <QJsonArray>

namespace corvane {
namespace {

const QString fileName = QStringLiteral("cleanup-history.json");
const QString cleanupsKey = QStringLiteral("cleanups");
const QString itemsKey = QStringLiteral("items");
const QString putBackKey = QStringLiteral("putBack");
const QString emptiedKey = QStringLiteral("emptied");

// What marks the entry in the Trash as the one the cleanup made: the record's values on Linux,
// the file's identity on macOS. Absent keys mean an older history that recorded neither.
void addEntryMarks(QJsonObject& object, const TrashLocation& location) {
    if (!location.recordedPath.isEmpty()) {
        object.insert(QStringLiteral("trashRecordPath"), location.recordedPath);
        object.insert(QStringLiteral("trashRecordDate"), location.deletionDate);
    }
    if (const std::optional<FileIdentity>& identity = location.identity) {
        object.insert(
            QStringLiteral("trashIdentity"),
            QJsonObject{{QStringLiteral("device"), QString::number(identity->device)},
                        {QStringLiteral("inode"), QString::number(identity->inode)},
                        {QStringLiteral("size"), QString::number(identity->size)},
                        {QStringLiteral("modified"), QString::number(identity->modified)}});
    }
}

// 64-bit numbers are kept as text: a JSON number would round them.
std::optional<FileIdentity> identityFromJson(const QJsonValue& value) {
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    FileIdentity identity;
    bool allRead = true;
    const auto number = [&object, &allRead](const char* key) {
        bool ok = false;
        const qint64 read = object.value(QLatin1String(key)).toString().toLongLong(&ok);
        allRead = allRead && ok;
        return read;
    };
    identity.device = number("device");
    identity.inode = number("inode");
    identity.size = number("size");
    identity.modified = number("modified");
    return allRead ? std::optional(identity) : std::nullopt;
}

QJsonObject itemJson(const CleanupItem& item) {
    QJsonObject object{{QStringLiteral("originalPath"), item.originalPath},
                       {QStringLiteral("trashPath"), item.location.path},
                       {QStringLiteral("trashInfoPath"), item.location.infoPath},
                       {QStringLiteral("bytes"), item.bytes},
                       {QStringLiteral("putBack"), item.isPutBack}};
    if (item.isEmptied)
        object.insert(emptiedKey, true);
    addEntryMarks(object, item.location);
    return object;
}

std::optional<CleanupItem> itemFromJson(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    CleanupItem item;
    item.originalPath = object.value(QStringLiteral("originalPath")).toString();
    // An item that does not say where it came from could never be put back.
    if (item.originalPath.isEmpty())
        return std::nullopt;
    item.location = {object.value(QStringLiteral("trashPath")).toString(),
                     object.value(QStringLiteral("trashInfoPath")).toString(),
                     object.value(QStringLiteral("trashRecordPath")).toString(),
                     object.value(QStringLiteral("trashRecordDate")).toString(),
                     identityFromJson(object.value(QStringLiteral("trashIdentity")))};
    item.bytes = object.value(QStringLiteral("bytes")).toInteger();
    item.isPutBack = object.value(QStringLiteral("putBack")).toBool();
    item.isEmptied = object.value(emptiedKey).toBool();
    return item;
}

std::optional<Cleanup> cleanupFromValue(const QJsonValue& value) {
    return value.isObject() ? CleanupHistory::cleanupFromJson(value.toObject()) : std::nullopt;
}

// Sets `key` on the items of the cleanup record `id` whose original paths are given. The records
// are changed where they lie, so that what a newer version wrote into them stays.
void markItems(QList<QJsonValue>& records, const QString& id, const QList<QString>& originalPaths,
               const QString& key) {
    for (QJsonValue& record : records) {
        QJsonObject cleanup = record.toObject();
        if (cleanup.value(QStringLiteral("id")).toString() != id)
            continue;
        QJsonArray items = cleanup.value(itemsKey).toArray();
        for (QJsonValueRef entry : items) {
            QJsonObject item = entry.toObject();
            if (originalPaths.contains(item.value(QStringLiteral("originalPath")).toString())) {
                item.insert(key, true);
                entry = item;
            }
        }
        cleanup.insert(itemsKey, items);
        record = cleanup;
    }
}

// The date to the second, in UTC; a number follows when a cleanup of that second exists.
QString newID(const QDateTime& date, const QList<Cleanup>& cleanups) {
    const QString stamp = date.toUTC().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const auto taken = [&cleanups](const QString& id) {
        return std::any_of(cleanups.cbegin(), cleanups.cend(),
                           [&id](const Cleanup& cleanup) { return cleanup.id == id; });
    };
    QString id = stamp;
    for (int number = 2; taken(id); ++number)
        id = stamp + u'-' + QString::number(number);
    return id;
}

} // namespace

qint64 Cleanup::bytes() const {
    qint64 total = 0;
    for (const CleanupItem& item : items)
        total = checkedSum(total, item.bytes);
    return total;
}

bool Cleanup::isEmptied() const {
    const auto emptied = [](const CleanupItem& item) { return item.isEmptied; };
    const auto over = [](const CleanupItem& item) { return item.isEmptied || item.isPutBack; };
    return std::any_of(items.cbegin(), items.cend(), emptied) &&
           std::all_of(items.cbegin(), items.cend(), over);
}

qsizetype Cleanup::itemsInTrash() const {
    return std::count_if(items.cbegin(), items.cend(), [](const CleanupItem& item) {
        return !item.isPutBack &&
               item.location.entry(item.originalPath) == TrashLocation::Entry::same;
    });
}

CleanupHistory::CleanupHistory()
    : CleanupHistory(Paths::joined(Locations::appSupportDir(), fileName)) {}

CleanupHistory::CleanupHistory(QString path)
    : path_(std::move(path)) {}

OwnFile CleanupHistory::file() const {
    return OwnFile(path_, QStringLiteral("The cleanup history"),
                   {OwnFile::Layout::keyedArray, cleanupsKey,
                    [](const QJsonValue& value) { return cleanupFromValue(value).has_value(); }});
}

CleanupHistory::Contents CleanupHistory::load() const {
    OwnFile::Contents contents = file().load();
    return {decodedRecords<Cleanup>(contents.records, cleanupFromValue),
            std::move(contents.problem)};
}

RecordedCleanup CleanupHistory::record(const QString& area, const QList<CleanupItem>& items,
                                       const QDateTime& date) const {
    if (items.isEmpty())
        return {};
    QString id;
    const OwnFile::Outcome outcome = file().update([&](QList<QJsonValue>& records) {
        id = newID(date, decodedRecords<Cleanup>(records, cleanupFromValue));
        records.append(cleanupJson({id, date, area, items}));
        if (records.size() > keptCleanups)
            records.remove(0, records.size() - keptCleanups);
    });
    if (!outcome.error.isEmpty())
        return {std::nullopt,
                QStringLiteral("This cleanup could not be added to the history: ") + outcome.error};
    return {id, outcome.notice};
}

QString CleanupHistory::markPutBack(const QString& id, const QList<QString>& originalPaths) const {
    return mark(id, originalPaths, putBackKey);
}

QString CleanupHistory::markEmptied(const QString& id, const QList<QString>& originalPaths) const {
    return mark(id, originalPaths, emptiedKey);
}

// Marks only what the history holds; one that can't be read is left for the user to fix.
QString CleanupHistory::mark(const QString& id, const QList<QString>& originalPaths,
                             const QString& key) const {
    if (originalPaths.isEmpty())
        return {};
    const auto marking = [&](QList<QJsonValue>& records) {
        markItems(records, id, originalPaths, key);
    };
    return file().update(marking, OwnFile::WhenUnreadable::refuse).error;
}

QJsonObject CleanupHistory::cleanupJson(const Cleanup& cleanup) {
    QJsonArray items;
    for (const CleanupItem& item : cleanup.items)
        items.append(itemJson(item));
    return {{QStringLiteral("id"), cleanup.id},
            {QStringLiteral("date"), JsonFile::secondsSinceReferenceDate(cleanup.date)},
            {QStringLiteral("area"), cleanup.area},
            {QStringLiteral("items"), items}};
}

std::optional<Cleanup> CleanupHistory::cleanupFromJson(const QJsonObject& object) {
    Cleanup cleanup;
    cleanup.id = object.value(QStringLiteral("id")).toString();
    const QJsonValue date = object.value(QStringLiteral("date"));
    const QJsonValue items = object.value(QStringLiteral("items"));
    if (cleanup.id.isEmpty() || !date.isDouble() || !items.isArray())
        return std::nullopt;
    cleanup.date = JsonFile::dateFromReferenceSeconds(date.toDouble());
    cleanup.area = object.value(QStringLiteral("area")).toString();
    const QJsonArray array = items.toArray();
    for (const QJsonValue& entry : array) {
        std::optional<CleanupItem> item = itemFromJson(entry);
        if (!item)
            return std::nullopt;
        cleanup.items.append(std::move(*item));
    }
    return cleanup;
}

QList<CleanupItem> cleanupItems(const TrashOutcome& outcome,
                                const QHash<QString, qint64>& sizeByURL) {
    QList<CleanupItem> items;
    for (const QString& url : outcome.trashed)
        items.append({Paths::absoluteStandardized(url), outcome.locations.value(url),
                      sizeByURL.value(url, 0), false});
    return items;
}

std::optional<ToastAction> putBackOffer(const RecordedCleanup& cleanup) {
    if (!cleanup.id)
        return std::nullopt;
    return ToastAction{putBackTitle, putBackCommand, *cleanup.id};
}

} // namespace corvane
