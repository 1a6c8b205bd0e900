#include "platform/OwnFile.h"

#include "platform/InputLimits.h"
#include "platform/JsonFile.h"
#include "platform/Paths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace corvane {

struct OwnFile::Read {
    State state = State::missing;
    QByteArray bytes;
    // Whether `bytes` hold what is stored; not when it could not be read (or was too large).
    bool bytesRead = true;
    // The whole document, when it could be parsed: what a write keeps around the records.
    QJsonValue document;
    QList<QJsonValue> records;
    // Records this version does not know, carried through every write as they are.
    QList<QJsonValue> unknown;
    // Why the file could not be read at all.
    QString why;
};

namespace {

OwnFile::Storage fileStorage(const QString& path) {
    const auto read = [path](QString* error) -> std::optional<QByteArray> {
        if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
            return std::nullopt;
        InputLimits::FileRead file = InputLimits::readFile(path);
        if (!file.bytes)
            *error = file.problem;
        return file.bytes;
    };
    const auto write = [path](const QByteArray& bytes) {
        return JsonFile::writeAtomically(path, bytes);
    };
    return {read, write};
}

// The entries of a parsed document as the layout places them; nothing when the document does
// not have the layout's shape.
std::optional<QList<QJsonValue>> entriesOf(const QJsonDocument& document,
                                           const OwnFile::Shape& shape) {
    QList<QJsonValue> entries;
    switch (shape.layout) {
    case OwnFile::Layout::array:
        if (!document.isArray())
            return std::nullopt;
        for (const QJsonValue& entry : document.array())
            entries.append(entry);
        return entries;
    case OwnFile::Layout::keyedArray: {
        const QJsonValue list = document.object().value(shape.listKey);
        if (!document.isObject() || !list.isArray())
            return std::nullopt;
        for (const QJsonValue& entry : list.toArray())
            entries.append(entry);
        return entries;
    }
    case OwnFile::Layout::members: {
        if (!document.isObject())
            return std::nullopt;
        const QJsonObject object = document.object();
        for (auto member = object.begin(); member != object.end(); ++member)
            entries.append(QJsonObject{{member.key(), member.value()}});
        return entries;
    }
    }
    return std::nullopt;
}

QString shapeName(const OwnFile::Shape& shape) {
    switch (shape.layout) {
    case OwnFile::Layout::array:
        return QStringLiteral("it is not a list");
    case OwnFile::Layout::keyedArray:
        return QStringLiteral("it holds no list under \"%1\"").arg(shape.listKey);
    case OwnFile::Layout::members:
        return QStringLiteral("it is not a JSON object");
    }
    return {};
}

// Sorts the bytes into records known and unknown, or says why they cannot be read at all.
void classify(OwnFile::Read& read, const OwnFile::Shape& shape) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(read.bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        read.state = OwnFile::State::unreadable;
        read.why = JsonFile::parseProblem(error);
        return;
    }
    const std::optional<QList<QJsonValue>> entries = entriesOf(document, shape);
    if (!entries) {
        read.state = OwnFile::State::unreadable;
        read.why = shapeName(shape);
        return;
    }
    if (const std::optional<QString> problem = InputLimits::tooManyRecords(entries->size())) {
        read.state = OwnFile::State::unreadable;
        read.why = *problem;
        return;
    }
    read.document = document.isArray() ? QJsonValue(document.array()) : document.object();
    for (const QJsonValue& entry : *entries)
        (shape.knows(entry) ? read.records : read.unknown).append(entry);
    read.state = read.unknown.isEmpty() ? OwnFile::State::whole : OwnFile::State::partlyReadable;
}

// The document to write: the records, then the unknown ones as they were, inside what surrounded
// them.
QJsonValue composed(const OwnFile::Read& read, const QList<QJsonValue>& records,
                    const OwnFile::Shape& shape) {
    if (shape.layout == OwnFile::Layout::members) {
        QJsonObject object;
        for (const QList<QJsonValue>* list : {&read.unknown, &records}) {
            for (const QJsonValue& entry : *list) {
                const QJsonObject member = entry.toObject();
                for (auto it = member.begin(); it != member.end(); ++it)
                    object.insert(it.key(), it.value());
            }
        }
        return object;
    }
    QJsonArray array;
    for (const QJsonValue& record : records)
        array.append(record);
    for (const QJsonValue& record : read.unknown)
        array.append(record);
    if (shape.layout == OwnFile::Layout::array)
        return array;
    QJsonObject envelope = read.document.toObject();
    envelope.insert(shape.listKey, array);
    return envelope;
}

QString recordsCount(qsizetype count) {
    return count == 1 ? QStringLiteral("1 record") : QStringLiteral("%1 records").arg(count);
}

} // namespace

OwnFile::OwnFile(QString path, QString title, Shape shape, std::optional<Storage> storage)
    : path_(std::move(path))
    , title_(std::move(title))
    , shape_(std::move(shape))
    , storage_(storage ? std::move(*storage) : fileStorage(path_)) {}

OwnFile::Read OwnFile::readNow() const {
    Read read;
    QString error;
    std::optional<QByteArray> bytes = storage_.read(&error);
    if (!bytes) {
        if (!error.isEmpty()) {
            read.state = State::unreadable;
            read.why = error;
            read.bytesRead = false;
        }
        return read;
    }
    read.bytes = std::move(*bytes);
    classify(read, shape_);
    return read;
}

QString OwnFile::describe(const Read& read) const {
    if (read.state == State::unreadable)
        return QStringLiteral("%1 %2 could not be read: %3.").arg(title_, path_, read.why);
    return QStringLiteral("%1 %2 holds %3 that this version cannot read; they are kept as they "
                          "are.")
        .arg(title_, path_, recordsCount(read.unknown.size()));
}

std::optional<QString> OwnFile::problemOf(const Read& read) const {
    if (read.state == State::unreadable)
        return describe(read) + QStringLiteral(" It is left as it is.");
    if (read.state == State::partlyReadable)
        return describe(read);
    return std::nullopt;
}

OwnFile::Contents OwnFile::load() const {
    Read read = readNow();
    return {read.state, std::move(read.records), problemOf(read)};
}

// Keeps the bytes beside the file under a dated name no earlier copy has, unless a copy holds
// them already (or, for a partly readable file, the same unknown records): a file that stays
// partly readable is not copied again on every change.
OwnFile::Aside OwnFile::setAside(const Read& read) const {
    const QString folder = Paths::parentPath(path_);
    const QString stem = QFileInfo(path_).completeBaseName() + QStringLiteral(".unreadable-");
    const QStringList earlier =
        QDir(folder).entryList({stem + QStringLiteral("*.json")}, QDir::Files);
    for (const QString& name : earlier) {
        if (!read.bytesRead)
            break;
        QFile file(Paths::joined(folder, name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        Read copy;
        copy.bytes = file.readAll();
        if (copy.bytes == read.bytes)
            return {};
        if (read.state == State::partlyReadable) {
            classify(copy, shape_);
            if (copy.state == State::partlyReadable && copy.unknown == read.unknown)
                return {};
        }
    }
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = Paths::joined(folder, stem + stamp + QStringLiteral(".json"));
    for (int number = 2; QFileInfo::exists(aside) || QFileInfo(aside).isSymLink(); ++number)
        aside = Paths::joined(folder, stem + QStringLiteral("%1-%2.json").arg(stamp).arg(number));
    // Bytes that could not be read are kept by copying the file itself; when that fails too,
    // nothing may be written over it.
    const bool kept = read.bytesRead ? JsonFile::writeAtomically(aside, read.bytes).isEmpty()
                                     : QFile::copy(path_, aside);
    if (!kept)
        return {{}, true};
    return {aside, false};
}

OwnFile::Outcome OwnFile::update(const Change& change, WhenUnreadable whenUnreadable) const {
    const JsonFile::Lock lock(path_);
    if (!lock.problem().isEmpty())
        return {lock.problem(), {}};
    // Read again under the lock: another process may have changed the file meanwhile.
    const Read read = readNow();
    if (read.state == State::unreadable && whenUnreadable == WhenUnreadable::refuse)
        return {*problemOf(read), {}};
    QList<QJsonValue> records = read.records;
    change(records);
    if (records == read.records)
        return {};

    Outcome outcome;
    if (read.state == State::unreadable || read.state == State::partlyReadable) {
        const Aside aside = setAside(read);
        if (aside.failed)
            return {describe(read) + QStringLiteral(" A copy could not be kept, so nothing was "
                                                    "written over it."),
                    {}};
        if (!aside.path.isEmpty())
            outcome.notice =
                describe(read) + (read.state == State::unreadable
                                      ? QStringLiteral(" It was kept as %1 and a new one begun.")
                                      : QStringLiteral(" A copy of the file was kept as %1."))
                                     .arg(aside.path);
    }
    outcome.error = storage_.write(JsonFile::serialized(composed(read, records, shape_)));
    return outcome;
}

} // namespace corvane
