#include "agents/ClaudeFolderLedger.h"

#include <QJsonObject>

namespace corvane {
namespace {

// Each entry comes as an object of its one member.
bool isEntry(const QJsonValue& value) {
    const QJsonObject member = value.toObject();
    return member.size() == 1 && !member.begin().value().toString().isEmpty();
}

QMap<QString, QString> mappingOf(const QList<QJsonValue>& records) {
    QMap<QString, QString> mapping;
    for (const QJsonValue& record : records) {
        const QJsonObject member = record.toObject();
        mapping.insert(member.begin().key(), member.begin().value().toString());
    }
    return mapping;
}

} // namespace

OwnFile ClaudeFolderLedger::file() const {
    return OwnFile(url, QStringLiteral("The Claude folder ledger"),
                   {OwnFile::Layout::members, {}, isEntry});
}

QMap<QString, QString> ClaudeFolderLedger::load() const {
    return mappingOf(file().load().records);
}

OwnFile::Outcome
ClaudeFolderLedger::update(const std::function<void(QMap<QString, QString>&)>& change) const {
    return file().update([&change](QList<QJsonValue>& records) {
        QMap<QString, QString> mapping = mappingOf(records);
        change(mapping);
        records.clear();
        for (auto entry = mapping.begin(); entry != mapping.end(); ++entry)
            records.append(QJsonObject{{entry.key(), entry.value()}});
    });
}

OwnFile::Outcome ClaudeFolderLedger::record(const QString& folderName, const QString& path) const {
    return update([&](QMap<QString, QString>& mapping) { mapping.insert(folderName, path); });
}

} // namespace corvane
