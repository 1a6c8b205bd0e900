#include "apps/BrewService.h"

#include "platform/Locations.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace corvane {
namespace {

QJsonObject parseObject(const QByteArray& json, const char* command) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        throw BrewError::failed(QStringLiteral("brew %1 gave an answer that could not be read.")
                                    .arg(QLatin1String(command)));
    return document.object();
}

void appendOutdated(QList<BrewOutdatedItem>& items, const QJsonValue& list,
                    BrewOutdatedItem::Kind kind) {
    for (const QJsonValue& value : list.toArray()) {
        const QJsonObject entry = value.toObject();
        BrewOutdatedItem item;
        item.kind = kind;
        item.name = entry.value(QLatin1String("name")).toString();
        if (item.name.isEmpty())
            continue;
        // Several outdated kegs can be installed; the last is the newest.
        const QJsonArray installed = entry.value(QLatin1String("installed_versions")).toArray();
        if (!installed.isEmpty())
            item.installedVersion = installed.last().toString();
        item.currentVersion = entry.value(QLatin1String("current_version")).toString();
        item.isPinned = entry.value(QLatin1String("pinned")).toBool();
        items.append(item);
    }
}

// The bundle name an "app" artifact installs: its {"target": ...} when it has one, else the
// listed name; only the last part of a path counts.
QString installedBundleName(const QJsonArray& app, const QJsonValue& siblingTarget) {
    QString name;
    for (const QJsonValue& part : app) {
        if (part.isString() && name.isEmpty())
            name = part.toString();
        else if (part.isObject() && part.toObject().value(QLatin1String("target")).isString())
            name = part.toObject().value(QLatin1String("target")).toString();
    }
    if (siblingTarget.isString() && siblingTarget.toString().endsWith(QLatin1String(".app")))
        name = siblingTarget.toString();
    return name.section(QLatin1Char('/'), -1);
}

} // namespace

std::optional<QString> BrewService::locate() {
    QString fallback;
    for (const char* path :
         {"/opt/homebrew/bin/brew", "/usr/local/bin/brew", "/home/linuxbrew/.linuxbrew/bin/brew"}) {
        if (QFileInfo(QLatin1String(path)).isExecutable()) {
            fallback = QLatin1String(path);
            break;
        }
    }
    const QString path = Locations::toolPath(QStringLiteral("brew"), fallback);
    if (path.isEmpty() || !QFileInfo(path).isExecutable())
        return std::nullopt;
    return path;
}

QByteArray BrewService::run(const QStringList& arguments, double timeout,
                            const CancellationToken& cancellation,
                            const BrewStreamingRunner::LineHandler& onLine) const {
    const std::optional<QString> brew = locate();
    if (!brew)
        throw BrewError::notInstalled();
    BrewStreamingRunner::Result result =
        BrewStreamingRunner::run(*brew, arguments, timeout, cancellation, onLine);
    if (result.error)
        throw *result.error;
    return result.standardOutput;
}

QList<BrewOutdatedItem> BrewService::outdated(const CancellationToken& cancellation) const {
    return parseOutdated(run({QStringLiteral("outdated"), QStringLiteral("--json=v2")},
                             listTimeoutSeconds, cancellation));
}

QHash<QString, QString>
BrewService::installedCaskApps(const CancellationToken& cancellation) const {
    return parseInstalledCaskApps(run({QStringLiteral("info"), QStringLiteral("--json=v2"),
                                       QStringLiteral("--installed"), QStringLiteral("--cask")},
                                      listTimeoutSeconds, cancellation));
}

void BrewService::upgrade(const BrewOutdatedItem& item, const CancellationToken& cancellation,
                          const BrewStreamingRunner::LineHandler& onLine) const {
    run(upgradeArguments(item), changeTimeoutSeconds, cancellation, onLine);
}

void BrewService::uninstallCask(const QString& token, const CancellationToken& cancellation,
                                const BrewStreamingRunner::LineHandler& onLine) const {
    run({QStringLiteral("uninstall"), QStringLiteral("--cask"), token}, changeTimeoutSeconds,
        cancellation, onLine);
}

QStringList BrewService::upgradeArguments(const BrewOutdatedItem& item) {
    if (item.kind == BrewOutdatedItem::Kind::cask)
        return {QStringLiteral("upgrade"), QStringLiteral("--cask"), item.name};
    return {QStringLiteral("upgrade"), item.name};
}

QString BrewService::upgradePasswordText(const BrewOutdatedItem& item) {
    return QStringLiteral("This update needs your Mac password. Run it in Terminal: ") +
           BrewStreamingRunner::commandLine(upgradeArguments(item));
}

QList<BrewOutdatedItem> BrewService::parseOutdated(const QByteArray& json) {
    const QJsonObject root = parseObject(json, "outdated");
    QList<BrewOutdatedItem> items;
    appendOutdated(items, root.value(QLatin1String("formulae")), BrewOutdatedItem::Kind::formula);
    appendOutdated(items, root.value(QLatin1String("casks")), BrewOutdatedItem::Kind::cask);
    return items;
}

QHash<QString, QString> BrewService::parseInstalledCaskApps(const QByteArray& json) {
    const QJsonObject root = parseObject(json, "info");
    QHash<QString, QString> apps;
    for (const QJsonValue& value : root.value(QLatin1String("casks")).toArray()) {
        const QJsonObject cask = value.toObject();
        const QString token = cask.value(QLatin1String("token")).toString();
        if (token.isEmpty())
            continue;
        for (const QJsonValue& artifact : cask.value(QLatin1String("artifacts")).toArray()) {
            const QJsonObject object = artifact.toObject();
            if (!object.value(QLatin1String("app")).isArray())
                continue;
            const QString name = installedBundleName(object.value(QLatin1String("app")).toArray(),
                                                     object.value(QLatin1String("target")));
            if (name.endsWith(QLatin1String(".app")))
                apps.insert(name, token);
        }
    }
    return apps;
}

} // namespace corvane
