#include "apps/SeenApps.h"

#include "platform/JsonFile.h"
#include "platform/Locations.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <algorithm>

namespace corvane {
namespace {

using Kind = AppDataItem::Kind;

std::optional<AppSource> sourceNamed(const QString& name) {
    for (AppSource source :
         {AppSource::packageManager, AppSource::snap, AppSource::appImage, AppSource::other})
        if (caseName(source) == name)
            return source;
    return std::nullopt;
}

std::optional<Kind> kindNamed(const QString& name) {
    for (Kind kind : {Kind::config, Kind::caches, Kind::data, Kind::state})
        if (caseName(kind) == name)
            return kind;
    return std::nullopt;
}

QJsonObject encoded(const SeenApp& app) {
    QJsonArray data;
    for (const DataMatch& match : app.data)
        data.append(QJsonObject{{QStringLiteral("kind"), caseName(match.kind)},
                                {QStringLiteral("path"), match.path}});
    QJsonObject object{
        {QStringLiteral("key"), app.key},
        {QStringLiteral("name"), app.name},
        {QStringLiteral("source"), caseName(app.source)},
        {QStringLiteral("identities"), QJsonArray::fromStringList(app.identities)},
        {QStringLiteral("program"), app.program},
        {QStringLiteral("data"), data},
        {QStringLiteral("lastSeen"), JsonFile::secondsSinceReferenceDate(app.lastSeen)}};
    if (app.desktopEntry)
        object.insert(QStringLiteral("desktopEntry"), *app.desktopEntry);
    return object;
}

// Nothing for a record this version cannot read whole: a record read in part could offer the
// wrong folders.
std::optional<SeenApp> decoded(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    SeenApp app;
    app.key = object.value(QStringLiteral("key")).toString();
    app.name = object.value(QStringLiteral("name")).toString();
    const std::optional<AppSource> source =
        sourceNamed(object.value(QStringLiteral("source")).toString());
    if (app.key.isEmpty() || !source)
        return std::nullopt;
    app.source = *source;
    for (const QJsonValue& identity : object.value(QStringLiteral("identities")).toArray())
        app.identities.append(identity.toString());
    if (object.contains(QStringLiteral("desktopEntry")))
        app.desktopEntry = object.value(QStringLiteral("desktopEntry")).toString();
    app.program = object.value(QStringLiteral("program")).toString();
    for (const QJsonValue& entry : object.value(QStringLiteral("data")).toArray()) {
        const std::optional<Kind> kind =
            kindNamed(entry.toObject().value(QStringLiteral("kind")).toString());
        const QString path = entry.toObject().value(QStringLiteral("path")).toString();
        if (!kind || path.isEmpty())
            return std::nullopt;
        app.data.append({*kind, path, true});
    }
    app.lastSeen =
        JsonFile::dateFromReferenceSeconds(object.value(QStringLiteral("lastSeen")).toDouble());
    return app;
}

bool isRecord(const QJsonValue& value) {
    return decoded(value).has_value();
}

bool anyStillThere(const SeenApp& app) {
    return std::any_of(app.data.cbegin(), app.data.cend(),
                       [](const DataMatch& match) { return QFileInfo::exists(match.path); });
}

} // namespace

QString SeenApps::defaultPath() {
    return Locations::appSupportDir() + QStringLiteral("/seen-apps.json");
}

SeenApps::SeenApps(QString path)
    : path_(std::move(path)) {}

OwnFile SeenApps::file() const {
    return OwnFile(path_, QStringLiteral("The record of apps seen"),
                   {OwnFile::Layout::keyedArray, QStringLiteral("apps"), isRecord});
}

QString SeenApps::keyOf(const InstalledApp& app) {
    if (app.desktopEntry && app.bundleIdentifier && app.source != AppSource::snap)
        return QStringLiteral("entry:") + *app.bundleIdentifier;
    if (app.source == AppSource::snap)
        return QStringLiteral("snap:") + app.bundleIdentifier.value_or(app.name);
    return QStringLiteral("file:") + app.url;
}

SeenApp SeenApps::fromApp(const InstalledApp& app, const QDateTime& seenAt) {
    SeenApp seen{keyOf(app),       app.name, app.source, app.identities,
                 app.desktopEntry, app.url,  {},         seenAt};
    for (const AppDataItem& item : app.data)
        if (item.isExactMatch)
            seen.data.append({item.kind, item.url, true});
    return seen;
}

SeenApps::Read SeenApps::load() const {
    const OwnFile::Contents contents = file().load();
    return {decodedRecords<SeenApp>(contents.records, decoded), contents.problem};
}

std::optional<QString> SeenApps::remember(const QList<InstalledApp>& listed,
                                          const QDateTime& now) const {
    QList<QJsonValue> fresh;
    QSet<QString> keys;
    for (const InstalledApp& app : listed) {
        const SeenApp seen = fromApp(app, now);
        if (keys.contains(seen.key))
            continue;
        keys.insert(seen.key);
        fresh.append(encoded(seen));
    }
    const OwnFile::Outcome outcome = file().update([&](QList<QJsonValue>& records) {
        QList<QJsonValue> kept;
        for (const QJsonValue& record : records) {
            const std::optional<SeenApp> earlier = decoded(record);
            if (earlier && !keys.contains(earlier->key) && anyStillThere(*earlier))
                kept.append(record);
        }
        records = kept + fresh;
    });
    if (!outcome.error.isEmpty())
        return outcome.error;
    if (!outcome.notice.isEmpty())
        return outcome.notice;
    return std::nullopt;
}

} // namespace corvane
