#include "agents/ClaudeFolderLedger.h"

#include "platform/JsonFile.h"

#include <QJsonObject>

namespace corvane {

QMap<QString, QString> ClaudeFolderLedger::load() const {
    QMap<QString, QString> mapping;
    const std::optional<QJsonValue> contents = JsonFile::read(url);
    if (!contents || !contents->isObject())
        return mapping;
    const QJsonObject object = contents->toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (entry.value().isString() && !entry.value().toString().isEmpty())
            mapping.insert(entry.key(), entry.value().toString());
    }
    return mapping;
}

QString ClaudeFolderLedger::save(const QMap<QString, QString>& mapping) const {
    QJsonObject object;
    for (auto entry = mapping.begin(); entry != mapping.end(); ++entry)
        object.insert(entry.key(), entry.value());
    return JsonFile::write(url, object);
}

QString ClaudeFolderLedger::record(const QString& folderName, const QString& path) const {
    QMap<QString, QString> mapping = load();
    mapping.insert(folderName, path);
    return save(mapping);
}

} // namespace corvane
