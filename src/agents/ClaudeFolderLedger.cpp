#include "agents/ClaudeFolderLedger.h"

#include "platform/JsonFile.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

namespace corvane {
namespace {

QMap<QString, QString> mappingOf(const QJsonObject& object) {
    QMap<QString, QString> mapping;
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (entry.value().isString() && !entry.value().toString().isEmpty())
            mapping.insert(entry.key(), entry.value().toString());
    }
    return mapping;
}

} // namespace

QMap<QString, QString> ClaudeFolderLedger::load() const {
    const std::optional<QJsonValue> contents = JsonFile::read(url);
    if (!contents || !contents->isObject())
        return {};
    return mappingOf(contents->toObject());
}

QString
ClaudeFolderLedger::update(const std::function<void(QMap<QString, QString>&)>& change) const {
    const JsonFile::Lock lock(url);
    if (!lock.problem().isEmpty())
        return lock.problem();

    QMap<QString, QString> mapping;
    if (QFileInfo::exists(url)) {
        const std::optional<QJsonValue> contents = JsonFile::read(url);
        if (!contents || !contents->isObject())
            return QStringLiteral("%1 could not be read and was left as it is").arg(url);
        mapping = mappingOf(contents->toObject());
    }
    change(mapping);
    QJsonObject object;
    for (auto entry = mapping.begin(); entry != mapping.end(); ++entry)
        object.insert(entry.key(), entry.value());
    return JsonFile::write(url, object);
}

QString ClaudeFolderLedger::record(const QString& folderName, const QString& path) const {
    return update([&](QMap<QString, QString>& mapping) { mapping.insert(folderName, path); });
}

} // namespace corvane
