#include "cli/AppsJson.h"

#include "apps/AppsModel.h"
#include "cli/JsonOutput.h"

namespace corvane::cli::AppsJson {

QJsonObject dataItem(const AppDataItem& item, bool preselected) {
    return {{QStringLiteral("kind"), caseName(item.kind)},
            {QStringLiteral("label"), label(item.kind)},
            {QStringLiteral("path"), item.url},
            {QStringLiteral("sizeBytes"), item.sizeBytes},
            {QStringLiteral("isExactMatch"), item.isExactMatch},
            {QStringLiteral("preselected"), preselected}};
}

QJsonObject app(const InstalledApp& app, const QList<AppDataItem>& preselected) {
    QJsonArray data;
    for (const AppDataItem& item : app.data)
        data.append(dataItem(item, preselected.contains(item)));
    return {{QStringLiteral("name"), app.name},
            {QStringLiteral("path"), app.url},
            {QStringLiteral("bundleIdentifier"), orNull(app.bundleIdentifier)},
            {QStringLiteral("version"), orNull(app.version)},
            {QStringLiteral("teamIdentifier"), orNull(app.teamIdentifier)},
            {QStringLiteral("source"), caseName(app.source)},
            {QStringLiteral("caskToken"), orNull(app.caskToken)},
            {QStringLiteral("desktopEntry"), orNull(app.desktopEntry)},
            {QStringLiteral("iconName"), orNull(app.iconName)},
            {QStringLiteral("sizeBytes"), app.sizeBytes},
            {QStringLiteral("lastUsedAt"), isoDateOrNull(app.lastUsedAt)},
            {QStringLiteral("data"), data}};
}

QJsonObject orphan(const OrphanedAppData& orphan) {
    QJsonArray items;
    for (const AppDataItem& item : orphan.items)
        items.append(dataItem(item, false));
    QJsonObject object{{QStringLiteral("bundleIdentifier"), orphan.bundleIdentifier},
                       {QStringLiteral("items"), items}};
    if (orphan.unreadableBundle)
        object.insert(QStringLiteral("unreadableBundle"), *orphan.unreadableBundle);
    if (orphan.gone)
        object.insert(
            QStringLiteral("gone"),
            QJsonObject{{QStringLiteral("witness"), caseName(orphan.gone->witness)},
                        {QStringLiteral("appName"), orphan.gone->appName},
                        {QStringLiteral("lastSeen"), isoDateOrNull(orphan.gone->lastSeen)},
                        {QStringLiteral("text"), AppsModel::goneText(orphan)}});
    return object;
}

QJsonObject outcome(const AppRemovalOutcome& outcome, bool withMethod) {
    QJsonArray trashed;
    for (const AppDataItem& item : outcome.trashedData)
        trashed.append(item.url);
    QJsonObject object{{QStringLiteral("trashedData"), trashed},
                       {QStringLiteral("freedBytes"), outcome.freedBytes},
                       {QStringLiteral("failures"), QJsonArray::fromStringList(outcome.failures)},
                       {QStringLiteral("terminalCommand"), orNull(outcome.terminalCommand)}};
    if (withMethod)
        object.insert(QStringLiteral("appMethod"),
                      outcome.appMethod ? QJsonValue(caseName(*outcome.appMethod)) : QJsonValue());
    return object;
}

QJsonObject outdated(const QList<BrewOutdatedItem>& items) {
    QJsonArray formulae;
    QJsonArray casks;
    for (const BrewOutdatedItem& item : items) {
        const QJsonObject object{{QStringLiteral("name"), item.name},
                                 {QStringLiteral("installedVersion"), item.installedVersion},
                                 {QStringLiteral("currentVersion"), item.currentVersion},
                                 {QStringLiteral("isPinned"), item.isPinned}};
        (item.kind == BrewOutdatedItem::Kind::formula ? formulae : casks).append(object);
    }
    return {{QStringLiteral("formulae"), formulae}, {QStringLiteral("casks"), casks}};
}

} // namespace corvane::cli::AppsJson
