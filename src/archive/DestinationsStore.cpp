#include "archive/DestinationsStore.h"

#include "platform/Locations.h"
#include "platform/Paths.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

namespace corvane {
namespace {

const QString idKey = QStringLiteral("id");
const QString kindKey = QStringLiteral("kind");
const QString nameKey = QStringLiteral("name");
const QString smbURLKey = QStringLiteral("smbURL");
const QString userKey = QStringLiteral("user");
const QString hostKey = QStringLiteral("host");
const QString remotePathKey = QStringLiteral("remotePath");

QString rawKind(SavedDestination::Kind kind) {
    return kind == SavedDestination::Kind::smb ? QStringLiteral("smb") : QStringLiteral("ssh");
}

std::optional<SavedDestination::Kind> kindFromRaw(const QString& raw) {
    if (raw == QStringLiteral("smb"))
        return SavedDestination::Kind::smb;
    if (raw == QStringLiteral("ssh"))
        return SavedDestination::Kind::ssh;
    return std::nullopt;
}

// Every key is required, as the list was written whole by this store.
std::optional<SavedDestination> destinationFrom(const QJsonValue& value) {
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    for (const QString& key : {idKey, kindKey, nameKey, smbURLKey, userKey, hostKey, remotePathKey})
        if (!object.value(key).isString())
            return std::nullopt;
    const QUuid id(object.value(idKey).toString());
    const std::optional<SavedDestination::Kind> kind =
        kindFromRaw(object.value(kindKey).toString());
    if (id.isNull() || !kind)
        return std::nullopt;
    return SavedDestination{id,
                            *kind,
                            object.value(nameKey).toString(),
                            object.value(smbURLKey).toString(),
                            object.value(userKey).toString(),
                            object.value(hostKey).toString(),
                            object.value(remotePathKey).toString()};
}

QJsonObject destinationJson(const SavedDestination& destination) {
    return {{idKey, destination.id.toString(QUuid::WithoutBraces).toUpper()},
            {kindKey, rawKind(destination.kind)},
            {nameKey, destination.name},
            {smbURLKey, destination.smbURL},
            {userKey, destination.user},
            {hostKey, destination.host},
            {remotePathKey, destination.remotePath}};
}

// The stored value, read afresh: another process may have changed it since this one looked.
OwnFile::Storage settingsStorage() {
    const auto read = [](QString* error) -> std::optional<QByteArray> {
        QSettings settings;
        settings.sync();
        if (settings.status() != QSettings::NoError)
            *error = QStringLiteral("the settings could not be read");
        if (!settings.contains(DestinationsStore::settingsKey))
            return std::nullopt;
        return settings.value(DestinationsStore::settingsKey).toString().toUtf8();
    };
    const auto write = [](const QByteArray& bytes) {
        QSettings settings;
        const QJsonDocument document = QJsonDocument::fromJson(bytes);
        settings.setValue(DestinationsStore::settingsKey,
                          QString::fromUtf8(document.toJson(QJsonDocument::Compact)));
        settings.sync();
        return settings.status() == QSettings::NoError
                   ? QString()
                   : QStringLiteral("The settings could not be written.");
    };
    return {read, write};
}

} // namespace

OwnFile DestinationsStore::file() {
    // The lock and any kept copy live in the support folder; the list itself in the settings.
    return OwnFile(
        Paths::joined(Locations::appSupportDir(), QStringLiteral("archive-destinations.json")),
        QStringLiteral("The archive destinations (setting \"%1\")").arg(settingsKey),
        {OwnFile::Layout::array,
         {},
         [](const QJsonValue& value) { return destinationFrom(value).has_value(); }},
        settingsStorage());
}

DestinationsStore::DestinationsStore(QObject* parent)
    : QObject(parent) {
    reload();
}

void DestinationsStore::reload() {
    const OwnFile::Contents contents = file().load();
    destinations_ = decodedRecords<SavedDestination>(contents.records, destinationFrom);
    problem_ = contents.problem;
    // That an unreadable list was kept aside stays to be said after the list is whole again.
    if (!notice_.isEmpty())
        problem_ = problem_ ? notice_ + u'\n' + *problem_ : notice_;
}

void DestinationsStore::change(const std::function<bool(QList<SavedDestination>&)>& edit) {
    bool changed = false;
    const OwnFile::Outcome outcome = file().update([&](QList<QJsonValue>& records) {
        QList<SavedDestination> destinations =
            decodedRecords<SavedDestination>(records, destinationFrom);
        changed = edit(destinations);
        if (!changed)
            return;
        records.clear();
        for (const SavedDestination& destination : std::as_const(destinations))
            records.append(destinationJson(destination));
    });
    if (!outcome.notice.isEmpty())
        notice_ = outcome.notice;
    reload();
    if (!outcome.error.isEmpty())
        problem_ = outcome.error;
    if ((changed && outcome.error.isEmpty()) || problem_)
        emit destinationsChanged();
}

QUuid DestinationsStore::add(SavedDestination::Kind kind) {
    SavedDestination destination;
    destination.id = QUuid::createUuid();
    destination.kind = kind;
    destination.remotePath = defaultRemotePath;
    change([&destination](QList<SavedDestination>& destinations) {
        destinations.append(destination);
        return true;
    });
    return destination.id;
}

void DestinationsStore::update(const SavedDestination& destination) {
    change([&destination](QList<SavedDestination>& destinations) {
        for (SavedDestination& existing : destinations) {
            if (existing.id == destination.id) {
                existing = destination;
                return true;
            }
        }
        return false;
    });
}

void DestinationsStore::remove(const QUuid& id) {
    change([&id](QList<SavedDestination>& destinations) {
        return destinations.removeIf([&](const SavedDestination& each) { return each.id == id; }) >
               0;
    });
}

std::optional<SavedDestination> DestinationsStore::named(const QString& name) const {
    for (const SavedDestination& destination : destinations_)
        if (destination.name == name)
            return destination;
    return std::nullopt;
}

QByteArray DestinationsStore::encoded(const QList<SavedDestination>& destinations) {
    QJsonArray array;
    for (const SavedDestination& destination : destinations)
        array.append(destinationJson(destination));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

} // namespace corvane
