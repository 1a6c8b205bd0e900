#include "devtools/DockerService.h"

#include "platform/CheckedSum.h"
#include "platform/InputLimits.h"
#include "platform/Locations.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTimeZone>
#include <cmath>
#include <functional>

namespace corvane {
namespace {

// Reading commands answer within seconds, but `system df -v` walks every layer and volume of a
// large Docker. Changing commands get longer: `stop` waits for the container's own shutdown and a
// prune or an image removal can delete gigabytes inside the virtual disk.
constexpr double listingTimeout = 60.0;
constexpr double changeTimeout = 300.0;

const QString unexpectedReport = QStringLiteral("Docker returned an unexpected report.");
// Put before every id or name: whatever Docker or a user calls an object, it is never an option.
const QString endOfOptions = QStringLiteral("--");

bool isExecutableFile(const QString& path) {
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

QString seconds(double timeout) {
    return QString::number(static_cast<int>(timeout));
}

// Runs the located tool with the search path its helpers (credential helpers, plug-ins) need;
// anything but a clean exit becomes a DockerServiceError.
QByteArray runDocker(const DockerService& service, const QStringList& arguments, double timeout) {
    const std::optional<QString> tool = service.toolPath();
    if (!tool)
        throw DockerServiceError::notInstalled();
    ProcessResult result;
    try {
        result = service.runner->run(
            *tool, arguments, std::nullopt,
            {{QStringLiteral("PATH"), ProcessRunner::toolSearchPath(*tool)}}, timeout);
    } catch (const ProcessRunnerError& error) {
        if (error.kind() == ProcessRunnerError::Case::timedOut)
            throw DockerServiceError::commandFailed(
                QStringLiteral("docker did not answer within %1 seconds.").arg(seconds(timeout)));
        throw DockerServiceError::commandFailed(QStringLiteral("docker could not be started: ") +
                                                error.description());
    }
    if (result.exitCode != 0) {
        QString message = QStringLiteral("docker exited with ") + QString::number(result.exitCode);
        const QString errorText = QString::fromUtf8(result.standardError).trimmed();
        if (!errorText.isEmpty())
            message += QStringLiteral(": ") + errorText;
        throw DockerServiceError::commandFailed(message);
    }
    return result.standardOutput;
}

QString text(const QJsonObject& object, const char* key) {
    return object.value(QLatin1String(key)).toString();
}

// Counts Docker prints as text; "N/A" (not counted) and "-1" (no usage data) count as none, and
// Docker's own refusal still guards an item that is in use after all.
int count(const QJsonObject& object, const char* key) {
    bool ok = false;
    const int value = text(object, key).toInt(&ok);
    return ok && value > 0 ? value : 0;
}

qint64 bytes(const QJsonObject& object, const char* key) {
    return DockerService::parseSize(text(object, key)).value_or(0);
}

// "key=value" pairs joined with ",", where values may hold "," and "=" themselves: a ","
// separates two labels only where a label key and its "=" follow.
QHash<QString, QString> parseLabels(const QString& labels) {
    static const QRegularExpression separator(QStringLiteral(",(?=[A-Za-z0-9][A-Za-z0-9._/-]*=)"));
    QHash<QString, QString> result;
    if (labels.isEmpty())
        return result;
    for (const QString& pair : labels.split(separator)) {
        const qsizetype equals = pair.indexOf(u'=');
        if (equals < 0)
            result.insert(pair, QString());
        else
            result.insert(pair.left(equals), pair.mid(equals + 1));
    }
    return result;
}

std::optional<QString> composeProject(const QHash<QString, QString>& labels) {
    const QString project = labels.value(QStringLiteral("com.docker.compose.project"));
    return project.isEmpty() ? std::nullopt : std::optional(project);
}

// The rows of one report array; a row that is not an object means this is no report.
QList<QJsonObject> rows(const QJsonObject& report, const char* key) {
    QList<QJsonObject> result;
    const QJsonArray array = report.value(QLatin1String(key)).toArray();
    if (const std::optional<QString> problem = InputLimits::tooManyRecords(array.size()))
        throw DockerServiceError::commandFailed(
            InputLimits::refusal(QStringLiteral("docker system df -v"), *problem));
    for (const QJsonValue& row : array) {
        if (!row.isObject())
            throw DockerServiceError::commandFailed(unexpectedReport);
        result.append(row.toObject());
    }
    return result;
}

// The objects of a listing with one JSON object per line; blank lines are skipped. `command`
// names the listing in the refusal of one over its limits.
QList<QJsonObject> listingRows(const QByteArray& listing, const QString& command) {
    const InputLimits::Records lines = InputLimits::split(listing);
    if (!lines.records)
        throw DockerServiceError::commandFailed(InputLimits::refusal(command, lines.problem));
    QList<QJsonObject> result;
    for (const QByteArray& line : *lines.records) {
        if (line.trimmed().isEmpty())
            continue;
        const QJsonDocument document = QJsonDocument::fromJson(line);
        if (!document.isObject())
            throw DockerServiceError::commandFailed(unexpectedReport);
        result.append(document.object());
    }
    return result;
}

DockerBatchResult eachOnItsOwn(const DockerService& service, const QStringList& ids,
                               const std::function<QStringList(qsizetype)>& argumentsFor) {
    DockerBatchResult result;
    for (qsizetype index = 0; index < ids.size(); ++index) {
        try {
            runDocker(service, argumentsFor(index), changeTimeout);
            result.succeeded.append(ids[index]);
        } catch (const DockerServiceError& error) {
            result.failed.insert(ids[index], error.message());
        }
    }
    return result;
}

} // namespace

std::optional<QString> DockerService::toolPath() const {
    const QString overridden = Locations::toolPath(QStringLiteral("docker"), QString());
    // A test or a user that names a tool means that one: a missing file is no Docker, rather
    // than a silent fall-back to some other installation.
    if (!overridden.isEmpty())
        return isExecutableFile(overridden) ? std::optional(overridden) : std::nullopt;
    const QString homeFolder = home.isEmpty() ? Locations::homeDir() : home;
    const QStringList candidates = {
        QStringLiteral("/usr/local/bin/docker"),
        QStringLiteral("/opt/homebrew/bin/docker"),
        QStringLiteral("/usr/bin/docker"),
        QStringLiteral("/Applications/Docker.app/Contents/Resources/bin/docker"),
        homeFolder + QStringLiteral("/.docker/bin/docker"),
        homeFolder + QStringLiteral("/.orbstack/bin/docker"),
    };
    for (const QString& candidate : candidates) {
        if (isExecutableFile(candidate))
            return candidate;
    }
    return std::nullopt;
}

DockerStatus DockerService::status() const {
    try {
        const QString version =
            QString::fromUtf8(runDocker(*this,
                                        {QStringLiteral("version"), QStringLiteral("--format"),
                                         QStringLiteral("{{.Server.Version}}")},
                                        listingTimeout))
                .trimmed();
        // The template renders even without a server; an empty version means none answered.
        if (version.isEmpty())
            return {DockerStatus::Case::notRunning, {}};
        return {DockerStatus::Case::running, version};
    } catch (const DockerServiceError& error) {
        if (error.kind() == DockerServiceError::Case::notInstalled)
            return {DockerStatus::Case::notInstalled, {}};
        return {DockerStatus::Case::notRunning, {}};
    }
}

DockerSnapshot DockerService::snapshot() const {
    const QString json = QStringLiteral("{{json .}}");
    const QString format = QStringLiteral("--format");
    DockerSnapshot snapshot = parseReport(runDocker(
        *this, {QStringLiteral("system"), QStringLiteral("df"), QStringLiteral("-v"), format, json},
        listingTimeout));
    const QHash<QString, QStringList> references = parseImageReferences(runDocker(
        *this,
        {QStringLiteral("image"), QStringLiteral("ls"), QStringLiteral("--no-trunc"), format, json},
        listingTimeout));
    for (DockerImage& image : snapshot.images) {
        if (const auto found = references.constFind(image.id); found != references.cend())
            image.references = *found;
        // The listing hides untagged images from CLI 29 on, and an image can appear between
        // the two commands; the report still names the first tag.
        else if (!image.isUntagged())
            image.references = {image.repository + u':' + image.tag};
    }
    snapshot.imageTotalBytes = parseImageTotal(runDocker(
        *this, {QStringLiteral("system"), QStringLiteral("df"), format, json}, listingTimeout));
    return snapshot;
}

DockerBatchResult DockerService::removeContainers(const QStringList& ids) const {
    return eachOnItsOwn(*this, ids, [&](qsizetype index) {
        return QStringList{QStringLiteral("rm"), endOfOptions, ids[index]};
    });
}

DockerBatchResult DockerService::removeImages(const QList<DockerImage>& images) const {
    QStringList ids;
    for (const DockerImage& image : images)
        ids.append(image.id);
    // Removing by id fails without force when several names point at the image; all its names in
    // one "rmi" remove it, and an untagged image has only its id.
    return eachOnItsOwn(*this, ids, [&](qsizetype index) {
        const DockerImage& image = images[index];
        return QStringList{QStringLiteral("rmi"), endOfOptions} +
               (image.references.isEmpty() ? QStringList{image.id} : image.references);
    });
}

DockerBatchResult DockerService::removeVolumes(const QStringList& names) const {
    return eachOnItsOwn(*this, names, [&](qsizetype index) {
        return QStringList{QStringLiteral("volume"), QStringLiteral("rm"), endOfOptions,
                           names[index]};
    });
}

qint64 DockerService::pruneBuildCache() const {
    // "-f" only skips the confirmation prompt; it forces nothing in use away.
    const QByteArray output =
        runDocker(*this, {QStringLiteral("builder"), QStringLiteral("prune"), QStringLiteral("-f")},
                  changeTimeout);
    return parsePrunedBytes(output).value_or(0);
}

void DockerService::startContainer(const QString& id) const {
    runDocker(*this, {QStringLiteral("start"), endOfOptions, id}, changeTimeout);
}

void DockerService::stopContainer(const QString& id) const {
    runDocker(*this, {QStringLiteral("stop"), endOfOptions, id}, changeTimeout);
}

std::optional<QString> DockerService::removalBlockedReason(const DockerContainer& container) {
    if (container.isRunning())
        return QStringLiteral("Stop this container before removing it.");
    return std::nullopt;
}

std::optional<QString> DockerService::removalBlockedReason(const DockerImage& image) {
    if (image.containerCount > 0)
        return QStringLiteral("A container uses this image. Remove the container first.");
    return std::nullopt;
}

std::optional<QString> DockerService::removalBlockedReason(const DockerVolume& volume) {
    if (volume.containerCount > 0)
        return QStringLiteral("A container uses this volume. Remove the container first.");
    return std::nullopt;
}

std::optional<qint64> DockerService::parseSize(const QString& text) {
    // The number as C's %g prints it, which switches to exponent form ("1e+03MB") when the
    // rounded value needs more digits than allowed; units are decimal, as Docker's are.
    static const QRegularExpression pattern(
        QStringLiteral("^([0-9]+(?:\\.[0-9]*)?|\\.[0-9]+)((?:[eE][+-]?[0-9]+)?)([A-Za-z]+)$"));
    static const QHash<QString, double> units = {
        {QStringLiteral("B"), 1.0},  {QStringLiteral("kB"), 1e3}, {QStringLiteral("KB"), 1e3},
        {QStringLiteral("MB"), 1e6}, {QStringLiteral("GB"), 1e9}, {QStringLiteral("TB"), 1e12},
    };
    const QString trimmed = text.trimmed();
    qsizetype end = 0;
    while (end < trimmed.size() && !trimmed[end].isSpace() && trimmed[end] != u'(')
        ++end;
    const QRegularExpressionMatch match = pattern.match(trimmed.left(end));
    if (!match.hasMatch())
        return std::nullopt;
    const auto unit = units.constFind(match.captured(3));
    if (unit == units.cend())
        return std::nullopt;
    bool ok = false;
    const double number = (match.captured(1) + match.captured(2)).toDouble(&ok);
    const double value = std::round(number * *unit);
    // Beyond 2^63 no count of bytes is meant; refuse rather than convert out of range.
    if (!ok || !std::isfinite(value) || value >= 9.2e18)
        return std::nullopt;
    return static_cast<qint64>(value);
}

std::optional<QDateTime> DockerService::parseDate(const QString& text) {
    // Go's time format: date, time with an optional fraction, numeric offset, zone name.
    static const QRegularExpression pattern(
        QStringLiteral("^([0-9]{4})-([0-9]{2})-([0-9]{2}) ([0-9]{2}):([0-9]{2}):([0-9]{2}) "
                       "([+-])([0-9]{2})([0-9]{2})$"));
    const QStringList parts = text.split(u' ', Qt::SkipEmptyParts);
    if (parts.size() < 3)
        return std::nullopt;
    QString time = parts[1];
    if (const qsizetype dot = time.indexOf(u'.'); dot >= 0)
        time.truncate(dot);
    const QRegularExpressionMatch match = pattern.match(parts[0] + u' ' + time + u' ' + parts[2]);
    if (!match.hasMatch())
        return std::nullopt;
    auto number = [&](int group) { return match.captured(group).toInt(); };
    const QDate date(number(1), number(2), number(3));
    const QTime clock(number(4), number(5), number(6));
    const int offsetMinutes = number(9);
    if (!date.isValid() || !clock.isValid() || offsetMinutes > 59)
        return std::nullopt;
    const int offset =
        (number(8) * 3600 + offsetMinutes * 60) * (match.captured(7) == u'-' ? -1 : 1);
    return QDateTime(date, clock, QTimeZone::utc()).addSecs(-offset).toUTC();
}

DockerSnapshot DockerService::parseReport(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        throw DockerServiceError::commandFailed(unexpectedReport);
    const QJsonObject report = document.object();
    for (const char* key : {"Images", "Containers", "Volumes", "BuildCache"}) {
        if (!report.value(QLatin1String(key)).isArray())
            throw DockerServiceError::commandFailed(unexpectedReport);
    }

    DockerSnapshot snapshot;
    for (const QJsonObject& row : rows(report, "Images")) {
        DockerImage image;
        image.id = text(row, "ID");
        image.repository = text(row, "Repository");
        image.tag = text(row, "Tag");
        image.createdAt = parseDate(text(row, "CreatedAt"));
        image.sizeBytes = bytes(row, "Size");
        // "N/A" when the daemon did not compute it: promise nothing rather than too much.
        image.uniqueBytes = bytes(row, "UniqueSize");
        image.containerCount = count(row, "Containers");
        snapshot.images.append(image);
    }
    for (const QJsonObject& row : rows(report, "Containers")) {
        DockerContainer container;
        container.id = text(row, "ID");
        container.name = text(row, "Names");
        container.image = text(row, "Image");
        container.state = text(row, "State");
        container.status = text(row, "Status");
        container.sizeBytes = bytes(row, "Size");
        container.createdAt = parseDate(text(row, "CreatedAt"));
        container.composeProject = composeProject(parseLabels(text(row, "Labels")));
        snapshot.containers.append(container);
    }
    for (const QJsonObject& row : rows(report, "Volumes")) {
        const QHash<QString, QString> labels = parseLabels(text(row, "Labels"));
        DockerVolume volume;
        volume.name = text(row, "Name");
        volume.sizeBytes = bytes(row, "Size");
        volume.containerCount = count(row, "Links");
        volume.isAnonymous = labels.contains(QStringLiteral("com.docker.volume.anonymous"));
        volume.composeProject = composeProject(labels);
        snapshot.volumes.append(volume);
    }
    DockerBuildCache& cache = snapshot.buildCache;
    for (const QJsonObject& row : rows(report, "BuildCache")) {
        const qint64 size = bytes(row, "Size");
        ++cache.entryCount;
        cache.totalBytes = checkedSum(cache.totalBytes, size);
        if (text(row, "InUse") != QStringLiteral("true"))
            cache.reclaimableBytes = checkedSum(cache.reclaimableBytes, size);
        const std::optional<QDateTime> lastUsed = parseDate(text(row, "LastUsedAt"));
        if (lastUsed && (!cache.lastUsedAt || *lastUsed > *cache.lastUsedAt))
            cache.lastUsedAt = lastUsed;
    }
    return snapshot;
}

QHash<QString, QStringList> DockerService::parseImageReferences(const QByteArray& jsonLines) {
    // Throws like parseReport: a listing that is not one would make a multi-name image look like
    // it had one name, and removing that name alone would leave the image behind.
    QHash<QString, QStringList> references;
    for (const QJsonObject& row : listingRows(jsonLines, QStringLiteral("docker image ls"))) {
        // An untagged image is listed too, with no name to add.
        QStringList& names = references[text(row, "ID")];
        DockerImage named;
        named.repository = text(row, "Repository");
        named.tag = text(row, "Tag");
        if (named.isUntagged())
            continue;
        const QString reference = named.displayName();
        if (!names.contains(reference))
            names.append(reference);
    }
    // The lines of different repositories come in no stable order.
    for (QStringList& names : references)
        names.sort();
    return references;
}

std::optional<qint64> DockerService::parseImageTotal(const QByteArray& jsonLines) {
    try {
        for (const QJsonObject& row : listingRows(jsonLines, QStringLiteral("docker system df"))) {
            if (text(row, "Type") == QStringLiteral("Images"))
                return parseSize(text(row, "Size"));
        }
    } catch (const DockerServiceError&) {
        // The total is an extra: a listing without it still shows every image.
    }
    return std::nullopt;
}

std::optional<qint64> DockerService::parsePrunedBytes(const QByteArray& output) {
    // "Total reclaimed space: 746.5MB" from the legacy builder, "Total:\t746.5MB" from buildx.
    // A summary over the limits says no figure to trust.
    const InputLimits::Records lines = InputLimits::split(output);
    if (!lines.records)
        return std::nullopt;
    for (auto raw = lines.records->crbegin(); raw != lines.records->crend(); ++raw) {
        const QString line = QString::fromUtf8(*raw);
        if (!line.startsWith(QStringLiteral("Total")))
            continue;
        const qsizetype colon = line.indexOf(u':');
        if (colon < 0)
            return std::nullopt;
        return parseSize(line.mid(colon + 1).trimmed());
    }
    return std::nullopt;
}

} // namespace corvane
