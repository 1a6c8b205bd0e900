#include "platform/CleanupHistory.h"

#include "platform/CheckedSum.h"
#include "platform/JsonFile.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/TrashService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace corvane {
namespace {

const QString fileName = QStringLiteral("cleanup-history.json");
const QString cleanupsKey = QStringLiteral("cleanups");

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
    return item;
}

struct Read {
    QList<Cleanup> cleanups;
    std::optional<QString> problem;
};

// Every cleanup of the file, or why it can't be read; a file this version cannot fully read is
// unreadable as a whole, so that nothing is ever rewritten without the parts it lost.
Read readHistory(const QString& path) {
    QFile file(path);
    if (!file.exists())
        return {};
    const auto unreadable = [&path](const QString& why) {
        return Read{{},
                    QStringLiteral("The cleanup history %1 could not be read: %2. It is left as "
                                   "it is.")
                        .arg(path, why)};
    };
    if (!file.open(QIODevice::ReadOnly))
        return unreadable(file.errorString());
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError)
        return unreadable(
            QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset));
    const QJsonValue list = document.object().value(cleanupsKey);
    if (!document.isObject() || !list.isArray())
        return unreadable(QStringLiteral("it holds no list of cleanups"));
    Read read;
    const QJsonArray array = list.toArray();
    for (const QJsonValue& entry : array) {
        std::optional<Cleanup> cleanup = CleanupHistory::cleanupFromJson(entry.toObject());
        if (!cleanup)
            return unreadable(QStringLiteral("one of its cleanups is incomplete"));
        read.cleanups.append(std::move(*cleanup));
    }
    return read;
}

QString write(const QString& path, const QList<Cleanup>& cleanups) {
    QJsonArray array;
    for (const Cleanup& cleanup : cleanups)
        array.append(CleanupHistory::cleanupJson(cleanup));
    return JsonFile::write(path, QJsonObject{{cleanupsKey, array}});
}

// "cleanup-history.unreadable-20261125-161611.json" beside the history, with a number added when
// that name is taken: no kept copy is ever overwritten.
QString asidePath(const QString& path) {
    const QString stem = Paths::joined(Paths::parentPath(path), QStringLiteral("cleanup-history"));
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = stem + QStringLiteral(".unreadable-%1.json").arg(stamp);
    for (int number = 2; QFileInfo::exists(aside) || QFileInfo(aside).isSymLink(); ++number)
        aside = stem + QStringLiteral(".unreadable-%1-%2.json").arg(stamp).arg(number);
    return aside;
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

CleanupHistory::Contents CleanupHistory::load() const {
    Read read = readHistory(path_);
    return {std::move(read.cleanups), std::move(read.problem)};
}

RecordedCleanup CleanupHistory::record(const QString& area, const QList<CleanupItem>& items,
                                       const QDateTime& date) const {
    if (items.isEmpty())
        return {};
    const JsonFile::Lock lock(path_);
    if (!lock.problem().isEmpty())
        return {std::nullopt, QStringLiteral("This cleanup could not be added to the history: ") +
                                  lock.problem()};
    Read read = readHistory(path_);
    RecordedCleanup recorded;
    if (read.problem) {
        const QString aside = asidePath(path_);
        if (!QFile::rename(path_, aside))
            return {std::nullopt,
                    QStringLiteral("This cleanup could not be added to the history: %1 could not "
                                   "be read and could not be set aside.")
                        .arg(path_)};
        recorded.notice = QStringLiteral("The cleanup history could not be read, so it was kept "
                                         "as %1 and a new one begun.")
                              .arg(aside);
    }
    Cleanup cleanup{newID(date, read.cleanups), date, area, items};
    read.cleanups.append(cleanup);
    if (read.cleanups.size() > keptCleanups)
        read.cleanups.remove(0, read.cleanups.size() - keptCleanups);
    if (const QString problem = write(path_, read.cleanups); !problem.isEmpty())
        return {std::nullopt,
                QStringLiteral("This cleanup could not be added to the history: ") + problem};
    recorded.id = cleanup.id;
    return recorded;
}

QString CleanupHistory::markPutBack(const QString& id, const QList<QString>& originalPaths) const {
    if (originalPaths.isEmpty())
        return {};
    const JsonFile::Lock lock(path_);
    if (!lock.problem().isEmpty())
        return lock.problem();
    Read read = readHistory(path_);
    if (read.problem)
        return *read.problem;
    for (Cleanup& cleanup : read.cleanups) {
        if (cleanup.id != id)
            continue;
        for (CleanupItem& item : cleanup.items) {
            if (originalPaths.contains(item.originalPath))
                item.isPutBack = true;
        }
    }
    return write(path_, read.cleanups);
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
