#include "devtools/SimulatorService.h"

#include "platform/InputLimits.h"
#include "platform/Locations.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <algorithm>

namespace corvane {

namespace {

using Locations::Tool;

constexpr double listLimit = 60;
// A cold xcodebuild can take several seconds before it prints anything.
constexpr double sdkListLimit = 60;
constexpr double shutdownLimit = 60;
constexpr double deviceDeleteLimit = 300;
constexpr double eraseLimit = 300;
constexpr double runtimeDeleteLimit = 600;

QString text(const char* latin) {
    return QString::fromLatin1(latin);
}

// Without Xcode there is nothing to list: there is no xcrun at all (every system but a Mac), or
// the Mac's xcrun finds no simctl (only the command line tools) or no developer folder.
bool saysXcodeIsMissing(const QString& detail) {
    return detail.contains(text("unable to find utility")) ||
           detail.contains(text("invalid active developer path"));
}

SimulatorServiceError xcodeMissing() {
    return SimulatorServiceError(SimulatorService::xcodeMissingText,
                                 SimulatorServiceError::Case::xcodeMissing);
}

// Runs `tool` and returns its standard output; every way it can fail becomes one sentence.
// `label` is what the user knows the command as ("simctl" rather than the xcrun in front of it).
QByteArray runTool(const ProcessRunner& runner, Tool tool, const QString& label,
                   const QStringList& arguments, double limit) {
    const QString program = Locations::toolPath(tool);
    ProcessResult result;
    try {
        result = runner.run(program, arguments, std::nullopt, {}, limit);
    } catch (const ProcessRunnerError& error) {
        if (error.kind() == ProcessRunnerError::Case::launchFailed &&
            !QFileInfo(program).isExecutable())
            throw xcodeMissing();
        if (error.kind() == ProcessRunnerError::Case::timedOut)
            throw SimulatorServiceError(label + text(" did not finish within ") +
                                        QString::number(limit) + text(" seconds."));
        throw SimulatorServiceError(text("Could not run ") + label + text(": ") +
                                    error.description());
    }
    if (result.exitCode != 0) {
        // simctl writes most refusals to standard error, a few only to standard output.
        QString detail = QString::fromUtf8(result.standardError).trimmed();
        if (detail.isEmpty())
            detail = QString::fromUtf8(result.standardOutput).trimmed();
        if (saysXcodeIsMissing(detail))
            throw xcodeMissing();
        QString message = label + text(" exited with ") + QString::number(result.exitCode);
        message += detail.isEmpty() ? text(".") : text(": ") + detail;
        throw SimulatorServiceError(message);
    }
    return result.standardOutput;
}

QByteArray simctl(const ProcessRunner& runner, const QStringList& arguments, double limit) {
    return runTool(runner, Tool::xcrun, text("simctl"), QStringList{text("simctl")} + arguments,
                   limit);
}

// Where simctl takes a device or image it also takes words ("all", "booted", "unavailable") and
// options, and it has no "--" to end them: only a UUID is let through, as every one it lists is.
const QString& checkedIdentifier(const QString& id) {
    static const QRegularExpression uuid(QRegularExpression::anchoredPattern(
        QStringLiteral("[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}")));
    if (!uuid.match(id).hasMatch())
        throw SimulatorServiceError(u'"' + id +
                                    text("\" is not a simulator identifier; simctl was not run."));
    return id;
}

std::optional<QJsonDocument> parseJson(const QByteArray& json) {
    QJsonParseError error{};
    QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return document;
}

// A listing of more entries than InputLimits allows is refused as a whole.
void refuseIfTooMany(qsizetype count, const QString& command) {
    if (const std::optional<QString> problem = InputLimits::tooManyRecords(count))
        throw SimulatorServiceError(InputLimits::refusal(command, *problem));
}

std::optional<QDateTime> isoDate(const QJsonValue& value) {
    const QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODate);
    return date.isValid() ? std::optional(date) : std::nullopt;
}

qint64 bytes(const QJsonValue& value) {
    return std::max<qint64>(0, value.toInteger(0));
}

} // namespace

QList<SimulatorRuntime> SimulatorService::parseRuntimes(const QByteArray& json) {
    const std::optional<QJsonDocument> document = parseJson(json);
    if (!document || !document->isObject())
        throw SimulatorServiceError(text("simctl returned an unexpected runtime list."));
    const QJsonObject images = document->object();
    refuseIfTooMany(images.size(), text("xcrun simctl runtime list"));
    QList<SimulatorRuntime> runtimes;
    for (auto it = images.begin(); it != images.end(); ++it) {
        if (!it.value().isObject())
            continue;
        const QJsonObject image = it.value().toObject();
        // Unusable images lack everything but their identifier; they are kept because they
        // still take space and can be deleted.
        SimulatorRuntime runtime;
        runtime.id = image.value(QLatin1String("identifier")).toString(it.key());
        runtime.platform =
            simPlatformFrom(image.value(QLatin1String("platformIdentifier")).toString());
        runtime.version = image.value(QLatin1String("version")).toString();
        runtime.build = image.value(QLatin1String("build")).toString();
        runtime.runtimeIdentifier = image.value(QLatin1String("runtimeIdentifier")).toString();
        runtime.sizeBytes = bytes(image.value(QLatin1String("sizeBytes")));
        runtime.lastUsedAt = isoDate(image.value(QLatin1String("lastUsedAt")));
        runtime.isDeletable = image.value(QLatin1String("deletable")).toBool(false);
        runtimes.append(runtime);
    }
    // By platform, newest first; the object's own key order means nothing.
    std::stable_sort(runtimes.begin(), runtimes.end(),
                     [](const SimulatorRuntime& a, const SimulatorRuntime& b) {
                         if (a.platform != b.platform)
                             return a.platform < b.platform;
                         return compareVersions(a.version, b.version) > 0;
                     });
    return runtimes;
}

QList<SimulatorDevice> SimulatorService::parseDevices(const QByteArray& json) {
    const std::optional<QJsonDocument> document = parseJson(json);
    if (!document || !document->isObject() ||
        !document->object().value(QLatin1String("devices")).isObject())
        throw SimulatorServiceError(text("simctl returned an unexpected device list."));
    const QJsonObject byRuntime = document->object().value(QLatin1String("devices")).toObject();
    QList<SimulatorDevice> devices;
    for (auto it = byRuntime.begin(); it != byRuntime.end(); ++it) {
        // Old Xcodes keyed devices by display names, which no runtime can be matched with.
        if (!it.key().startsWith(QLatin1String("com.apple.CoreSimulator.SimRuntime.")))
            continue;
        const QJsonArray list = it.value().toArray();
        refuseIfTooMany(devices.size() + list.size(), text("xcrun simctl list devices"));
        for (const QJsonValue& value : list) {
            const QJsonObject entry = value.toObject();
            SimulatorDevice device;
            device.id = entry.value(QLatin1String("udid")).toString();
            if (device.id.isEmpty())
                continue;
            device.name = entry.value(QLatin1String("name")).toString();
            device.runtimeIdentifier = it.key();
            device.isAvailable = entry.value(QLatin1String("isAvailable")).toBool(false);
            device.isBooted = entry.value(QLatin1String("state")).toString() == u"Booted";
            device.dataPath = entry.value(QLatin1String("dataPath")).toString();
            device.dataSizeBytes = bytes(entry.value(QLatin1String("dataPathSize")));
            device.lastBootedAt = isoDate(entry.value(QLatin1String("lastBootedAt")));
            devices.append(device);
        }
    }
    return devices;
}

QMap<SimPlatform, QString> SimulatorService::parseSdkVersions(const QByteArray& json) {
    const std::optional<QJsonDocument> document = parseJson(json);
    if (!document || !document->isArray())
        throw SimulatorServiceError(text("xcodebuild returned an unexpected SDK list."));
    QMap<SimPlatform, QString> versions;
    const QJsonArray sdks = document->array();
    refuseIfTooMany(sdks.size(), text("xcodebuild -showsdks"));
    for (const QJsonValue& value : sdks) {
        const QJsonObject sdk = value.toObject();
        // Device SDKs ("iphoneos") share the simulators' names but not always their versions.
        const QString platformName = sdk.value(QLatin1String("platform")).toString();
        if (!platformName.endsWith(QLatin1String("simulator")))
            continue;
        const SimPlatform platform = simPlatformFrom(platformName);
        const QString version = sdk.value(QLatin1String("sdkVersion")).toString();
        if (platform == SimPlatform::other || version.isEmpty())
            continue;
        if (!versions.contains(platform) || compareVersions(version, versions[platform]) > 0)
            versions.insert(platform, version);
    }
    return versions;
}

QList<SimulatorRuntime> SimulatorService::runtimes() const {
    return parseRuntimes(simctl(*runner, {text("runtime"), text("list"), text("-j")}, listLimit));
}

QList<SimulatorDevice> SimulatorService::devices() const {
    return parseDevices(simctl(*runner, {text("list"), text("devices"), text("-j")}, listLimit));
}

QMap<SimPlatform, QString> SimulatorService::sdkVersions() const {
    return parseSdkVersions(runTool(*runner, Tool::xcodebuild, text("xcodebuild"),
                                    {text("-showsdks"), text("-json")}, sdkListLimit));
}

QSet<QString> SimulatorService::installedRuntimeIDs() const {
    QSet<QString> ids;
    for (const SimulatorRuntime& runtime : runtimes())
        ids.insert(runtime.id);
    return ids;
}

void SimulatorService::shutDown(const QStringList& udids) const {
    // simctl shuts down one device per call; every device gets its call before a failure is told.
    std::optional<SimulatorServiceError> firstFailure;
    for (const QString& udid : udids) {
        try {
            simctl(*runner, {text("shutdown"), checkedIdentifier(udid)}, shutdownLimit);
        } catch (const SimulatorServiceError& error) {
            if (!firstFailure)
                firstFailure = error;
        }
    }
    if (firstFailure)
        throw *firstFailure;
}

void SimulatorService::deleteDevices(const QStringList& udids) const {
    if (udids.isEmpty())
        return;
    for (const QString& udid : udids)
        checkedIdentifier(udid);
    simctl(*runner, QStringList{text("delete")} + udids, deviceDeleteLimit);
}

void SimulatorService::erase(const QString& udid) const {
    simctl(*runner, {text("erase"), checkedIdentifier(udid)}, eraseLimit);
}

void SimulatorService::deleteRuntime(const QString& id) const {
    simctl(*runner, {text("runtime"), text("delete"), checkedIdentifier(id)}, runtimeDeleteLimit);
}

} // namespace corvane
