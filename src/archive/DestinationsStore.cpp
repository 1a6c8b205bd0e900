#include "archive/DestinationsStore.h"

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

} // namespace

DestinationsStore::DestinationsStore(QObject* parent)
    : QObject(parent)
    , destinations_(decoded(QSettings().value(settingsKey).toByteArray())) {}

QUuid DestinationsStore::add(SavedDestination::Kind kind) {
    SavedDestination destination;
    destination.id = QUuid::createUuid();
    destination.kind = kind;
    destination.remotePath = defaultRemotePath;
    destinations_.append(destination);
    save();
    return destination.id;
}

void DestinationsStore::update(const SavedDestination& destination) {
    for (SavedDestination& existing : destinations_) {
        if (existing.id == destination.id) {
            existing = destination;
            save();
            return;
        }
    }
}

void DestinationsStore::remove(const QUuid& id) {
    if (destinations_.removeIf([&](const SavedDestination& each) { return each.id == id; }) > 0)
        save();
}

std::optional<SavedDestination> DestinationsStore::named(const QString& name) const {
    for (const SavedDestination& destination : destinations_)
        if (destination.name == name)
            return destination;
    return std::nullopt;
}

void DestinationsStore::save() {
    QSettings().setValue(settingsKey, QString::fromUtf8(encoded(destinations_)));
    emit destinationsChanged();
}

QByteArray DestinationsStore::encoded(const QList<SavedDestination>& destinations) {
    QJsonArray array;
    for (const SavedDestination& destination : destinations) {
        array.append(QJsonObject{{idKey, destination.id.toString(QUuid::WithoutBraces).toUpper()},
                                 {kindKey, rawKind(destination.kind)},
                                 {nameKey, destination.name},
                                 {smbURLKey, destination.smbURL},
                                 {userKey, destination.user},
                                 {hostKey, destination.host},
                                 {remotePathKey, destination.remotePath}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QList<SavedDestination> DestinationsStore::decoded(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return {};
    QList<SavedDestination> destinations;
    for (const QJsonValue& value : document.array()) {
        const std::optional<SavedDestination> destination = destinationFrom(value);
        // One unreadable entry makes the stored list untrustworthy as a whole.
        if (!destination)
            return {};
        destinations.append(*destination);
    }
    return destinations;
}

} // namespace corvane
