#include "apps/BrewService.h"

#include "platform/InputLimits.h"
#include "platform/Locations.h"
#include "platform/Paths.h"
#include "platform/PlatformWords.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

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

// The entries of one list of brew's answer; more than InputLimits allows refuse the answer whole.
QJsonArray entries(const QJsonObject& root, const char* key, const char* command) {
    const QJsonArray list = root.value(QLatin1String(key)).toArray();
    if (const std::optional<QString> problem = InputLimits::tooManyRecords(list.size()))
        throw BrewError::failed(
            InputLimits::refusal(QStringLiteral("brew %1").arg(QLatin1String(command)), *problem));
    return list;
}

void appendOutdated(QList<BrewOutdatedItem>& items, const QJsonArray& list,
                    BrewOutdatedItem::Kind kind) {
    for (const QJsonValue& value : list) {
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

// A place the cask's record names, made absolute the way brew makes it: "$APPDIR" and relative
// names are in the app folder, "~" is the home folder.
QString installedPlace(QString place, const QString& appDir) {
    const QString appDirWord = QStringLiteral("$APPDIR");
    if (place.startsWith(appDirWord))
        place = appDir + place.mid(appDirWord.size());
    else if (place == QLatin1String("~") || place.startsWith(QLatin1String("~/")))
        place = Locations::homeDir() + place.mid(1);
    else if (!place.startsWith(QLatin1Char('/')))
        place = appDir + QLatin1Char('/') + place;
    return Paths::absoluteStandardized(place);
}

// The bundle an "app" artifact installs: the resolved sibling "target" of newer Homebrew, else
// the inner {"target": ...}, else the listed bundle's name in the app folder.
QString installedBundlePath(const QJsonArray& app, const QJsonValue& siblingTarget,
                            const QString& appDir) {
    if (siblingTarget.isString() && siblingTarget.toString().endsWith(QLatin1String(".app")))
        return installedPlace(siblingTarget.toString(), appDir);
    QString source;
    for (const QJsonValue& part : app) {
        if (part.isObject() && part.toObject().value(QLatin1String("target")).isString())
            return installedPlace(part.toObject().value(QLatin1String("target")).toString(),
                                  appDir);
        if (part.isString() && source.isEmpty())
            source = part.toString();
    }
    // The source can sit in a subfolder of the download; only its name lands in the app folder.
    return source.isEmpty() ? QString()
                            : installedPlace(source.section(QLatin1Char('/'), -1), appDir);
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

CaskMap BrewService::installedCaskApps(const CancellationToken& cancellation) const {
    return parseInstalledCaskApps(run({QStringLiteral("info"), QStringLiteral("--json=v2"),
                                       QStringLiteral("--installed"), QStringLiteral("--cask")},
                                      listTimeoutSeconds, cancellation),
                                  Locations::applicationsDir());
}

void BrewService::upgrade(const BrewOutdatedItem& item, const CancellationToken& cancellation,
                          const BrewStreamingRunner::LineHandler& onLine) const {
    run(upgradeArguments(item), changeTimeoutSeconds, cancellation, onLine);
}

void BrewService::uninstallCask(const QString& token, const CancellationToken& cancellation,
                                const BrewStreamingRunner::LineHandler& onLine) const {
    if (!isCaskToken(token))
        throw BrewError::failed(QStringLiteral("\"%1\" is not a Homebrew cask name.").arg(token));
    run({QStringLiteral("uninstall"), QStringLiteral("--cask"), QStringLiteral("--"), token},
        changeTimeoutSeconds, cancellation, onLine);
}

QStringList BrewService::upgradeArguments(const BrewOutdatedItem& item) {
    if (item.kind == BrewOutdatedItem::Kind::cask)
        return {QStringLiteral("upgrade"), QStringLiteral("--cask"), item.name};
    return {QStringLiteral("upgrade"), item.name};
}

QString BrewService::upgradePasswordText(const BrewOutdatedItem& item) {
    const PlatformWords& words = PlatformWords::here();
    return QStringLiteral("This update needs %1. Run it in %2: ")
               .arg(words.password, words.terminal) +
           BrewStreamingRunner::commandLine(upgradeArguments(item));
}

QList<BrewOutdatedItem> BrewService::parseOutdated(const QByteArray& json) {
    const QJsonObject root = parseObject(json, "outdated");
    QList<BrewOutdatedItem> items;
    appendOutdated(items, entries(root, "formulae", "outdated"), BrewOutdatedItem::Kind::formula);
    appendOutdated(items, entries(root, "casks", "outdated"), BrewOutdatedItem::Kind::cask);
    return items;
}

CaskMap BrewService::parseInstalledCaskApps(const QByteArray& json, const QString& appDir) {
    const QJsonObject root = parseObject(json, "info");
    CaskMap apps;
    for (const QJsonValue& value : entries(root, "casks", "info")) {
        const QJsonObject cask = value.toObject();
        const QString token = cask.value(QLatin1String("token")).toString();
        if (token.isEmpty())
            continue;
        for (const QJsonValue& artifact : cask.value(QLatin1String("artifacts")).toArray()) {
            const QJsonObject object = artifact.toObject();
            if (!object.value(QLatin1String("app")).isArray())
                continue;
            const QString path = installedBundlePath(object.value(QLatin1String("app")).toArray(),
                                                     object.value(QLatin1String("target")), appDir);
            if (path.endsWith(QLatin1String(".app"), Qt::CaseInsensitive))
                apps.insert(path, token);
        }
    }
    return apps;
}

bool BrewService::isCaskToken(const QString& token) {
    static const QRegularExpression pattern(QStringLiteral("^[a-z0-9][a-z0-9@+._-]*$"));
    return pattern.match(token).hasMatch();
}

} // namespace corvane
