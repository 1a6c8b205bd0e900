#include "apps/FlatpakApps.h"

#include "platform/InputLimits.h"
#include "platform/Locations.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <variant>

namespace corvane {

QString FlatpakApps::toolPath() {
    return Locations::toolPath(QStringLiteral("flatpak"), QStringLiteral("/usr/bin/flatpak"));
}

bool FlatpakApps::isInstalled() {
    const QFileInfo tool(toolPath());
    return tool.isFile() && tool.isExecutable();
}

bool FlatpakApps::isAppId(const QString& id) {
    static const QRegularExpression pattern(
        QStringLiteral("^[A-Za-z_][A-Za-z0-9_-]*(\\.[A-Za-z_][A-Za-z0-9_-]*){2,}$"));
    return id.size() <= 255 && pattern.match(id).hasMatch();
}

namespace {

bool isHeading(const QString& firstColumn) {
    return firstColumn == QLatin1String("Application ID") ||
           firstColumn == QLatin1String("Application");
}

// The lines of flatpak's output, or the refusal of output over the limits.
std::variant<QStringList, QString> linesOf(const QByteArray& output, const QString& command) {
    const InputLimits::Records lines = InputLimits::split(output);
    if (!lines.records)
        return InputLimits::refusal(QStringLiteral("flatpak ") + command, lines.problem);
    QStringList texts;
    texts.reserve(lines.records->size());
    for (const QByteArray& line : *lines.records)
        texts.append(QString::fromUtf8(line));
    return texts;
}

QString unreadableLine(const QString& command, const QString& line) {
    return QStringLiteral("flatpak %1 printed a line that could not be read: %2")
        .arg(command, line.left(120));
}

// Runs flatpak; its standard output, or why there is none.
std::variant<QByteArray, QString> runFlatpak(const ProcessRunner& runner,
                                             const QStringList& arguments,
                                             const CancellationToken& cancellation) {
    const QString label = QStringLiteral("flatpak ") + arguments.first();
    const auto answer =
        runner.attempt(label, FlatpakApps::toolPath(), arguments, 60.0, cancellation);
    cancellation.throwIfCancelled();
    if (const QString* problem = std::get_if<QString>(&answer))
        return *problem;
    const ProcessResult& result = std::get<ProcessResult>(answer);
    if (result.exitCode != 0)
        return ProcessRunner::failureText(label, result);
    return result.standardOutput;
}

} // namespace

FlatpakListing FlatpakApps::parse(const QByteArray& output) {
    FlatpakListing listing;
    const auto lines = linesOf(output, QStringLiteral("list"));
    if (const QString* refused = std::get_if<QString>(&lines))
        return {{}, *refused};
    for (const QString& line : std::get<QStringList>(lines)) {
        if (line.trimmed().isEmpty())
            continue;
        const QStringList columns = line.split(QLatin1Char('\t'));
        const QString id = columns.value(0).trimmed();
        if (listing.apps.isEmpty() && isHeading(id))
            continue;
        if (columns.size() != 4 || !isAppId(id) || columns.value(3).trimmed().isEmpty()) {
            listing.apps.clear();
            listing.error = unreadableLine(QStringLiteral("list"), line);
            return listing;
        }
        const QString name = columns.value(1).trimmed();
        listing.apps.append({id, name.isEmpty() ? id : name, columns.value(2).trimmed(),
                             columns.value(3).trimmed()});
    }
    return listing;
}

std::optional<FlatpakListing> FlatpakApps::list(const ProcessRunner& runner,
                                                const CancellationToken& cancellation) {
    if (!isInstalled())
        return std::nullopt;
    const auto output =
        runFlatpak(runner,
                   {QStringLiteral("list"), QStringLiteral("--app"),
                    QStringLiteral("--columns=application,name,version,installation")},
                   cancellation);
    if (const QString* error = std::get_if<QString>(&output))
        return FlatpakListing{{}, *error};
    return parse(std::get<QByteArray>(output));
}

FlatpakListing FlatpakApps::running(const ProcessRunner& runner,
                                    const CancellationToken& cancellation) {
    const auto output = runFlatpak(
        runner, {QStringLiteral("ps"), QStringLiteral("--columns=application")}, cancellation);
    if (const QString* error = std::get_if<QString>(&output))
        return {{}, *error};
    FlatpakListing listing;
    const auto lines = linesOf(std::get<QByteArray>(output), QStringLiteral("ps"));
    if (const QString* refused = std::get_if<QString>(&lines))
        return {{}, *refused};
    for (const QString& line : std::get<QStringList>(lines)) {
        const QString id = line.trimmed();
        if (id.isEmpty() || (listing.apps.isEmpty() && isHeading(id)))
            continue;
        if (!isAppId(id))
            return {{}, unreadableLine(QStringLiteral("ps"), line)};
        listing.apps.append({id, id, {}, {}});
    }
    return listing;
}

bool FlatpakApps::saysNotInstalled(const QString& id, const QByteArray& standardError) {
    // "error: org.example.App/*unspecified*/*unspecified* not installed", or the bare id.
    const QString line = QString::fromUtf8(standardError).trimmed().section(u'\n', -1);
    static const QRegularExpression pattern(
        QStringLiteral("^error: (?:app/)?([^/ ]+)(?:/\\S*)? not installed$"));
    const QRegularExpressionMatch match = pattern.match(line);
    return match.hasMatch() && match.captured(1) == id;
}

InstallCheck FlatpakApps::check(const QString& id, const ProcessRunner& runner,
                                const CancellationToken& cancellation) {
    if (!isAppId(id))
        return {InstallCheck::Case::unknown, id + QStringLiteral(" is not a Flatpak app id")};
    if (!isInstalled())
        return {InstallCheck::Case::unknown,
                QStringLiteral("flatpak is not installed, so it cannot confirm that the app is "
                               "gone")};
    const QString label = QStringLiteral("flatpak info");
    const auto answer = runner.attempt(
        label, toolPath(), {QStringLiteral("info"), QStringLiteral("--"), id}, 30.0, cancellation);
    cancellation.throwIfCancelled();
    if (const QString* problem = std::get_if<QString>(&answer))
        return {InstallCheck::Case::unknown, *problem};
    const ProcessResult& result = std::get<ProcessResult>(answer);
    if (result.exitCode == 0)
        return {InstallCheck::Case::installed, {}};
    if (saysNotInstalled(id, result.standardError))
        return {InstallCheck::Case::notInstalled, {}};
    return {InstallCheck::Case::unknown, ProcessRunner::failureText(label, result)};
}

QString FlatpakApps::dataRoot() {
    return QDir(Locations::homeDir()).filePath(QStringLiteral(".var/app"));
}

QString FlatpakApps::dataFolder(const QString& id) {
    return dataRoot() + QLatin1Char('/') + id;
}

QString FlatpakApps::appFolder(const FlatpakApp& app) {
    if (app.installation == QStringLiteral("user")) {
        QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
        if (dataHome.isEmpty())
            dataHome = QDir(Locations::homeDir()).filePath(QStringLiteral(".local/share"));
        return dataHome + QStringLiteral("/flatpak/app/") + app.id;
    }
    return QStringLiteral("/var/lib/flatpak/app/") + app.id;
}

} // namespace corvane
