#include "apps/SnapApps.h"

#include "platform/InputLimits.h"
#include "platform/Locations.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace corvane {

QString SnapApps::toolPath() {
    return Locations::toolPath(QStringLiteral("snap"), QStringLiteral("/usr/bin/snap"));
}

bool SnapApps::isInstalled() {
    const QFileInfo tool(toolPath());
    return tool.isFile() && tool.isExecutable();
}

bool SnapApps::isName(const QString& name) {
    static const QRegularExpression pattern(QStringLiteral("^[a-z][a-z0-9-]{0,39}$"));
    return pattern.match(name).hasMatch() && !name.endsWith(u'-') && !name.contains(u"--");
}

namespace {

// The Notes of snaps that are no apps: the bases apps run on, snapd and the device's own.
bool isPlatformSnap(const QString& notes) {
    static const QStringList kinds{QStringLiteral("base"), QStringLiteral("core"),
                                   QStringLiteral("snapd"), QStringLiteral("gadget"),
                                   QStringLiteral("kernel")};
    const QStringList tags = notes.split(u',');
    return std::any_of(tags.cbegin(), tags.cend(),
                       [](const QString& tag) { return kinds.contains(tag.trimmed()); });
}

// Whether a line of `snap list`'s table is the snap's (bases included).
bool listsSnap(const QByteArray& output, const QString& name) {
    const QStringList lines = QString::fromUtf8(output).split(u'\n');
    return std::any_of(lines.cbegin(), lines.cend(), [&](const QString& line) {
        return line.simplified().section(u' ', 0, 0) == name;
    });
}

} // namespace

SnapListing SnapApps::parse(const QByteArray& output) {
    SnapListing listing;
    const InputLimits::Records lines = InputLimits::split(output);
    if (!lines.records)
        return {{}, InputLimits::refusal(QStringLiteral("snap list"), lines.problem)};
    bool headingSeen = false;
    for (const QByteArray& raw : *lines.records) {
        const QString line = QString::fromUtf8(raw);
        const QStringList columns = line.simplified().split(u' ', Qt::SkipEmptyParts);
        if (columns.isEmpty())
            continue;
        if (!headingSeen && columns.first() == QLatin1String("Name")) {
            headingSeen = true;
            continue;
        }
        if (columns.size() < 6 || !isName(columns.first())) {
            return {{},
                    QStringLiteral("snap list printed a line that could not be read: %1")
                        .arg(line.left(120))};
        }
        if (!isPlatformSnap(columns.last()))
            listing.apps.append({columns.first(), columns.at(1)});
    }
    return listing;
}

std::optional<SnapListing> SnapApps::list(const ProcessRunner& runner,
                                          const CancellationToken& cancellation) {
    if (!isInstalled())
        return std::nullopt;
    const QString label = QStringLiteral("snap list");
    const auto answer =
        runner.attempt(label, toolPath(), {QStringLiteral("list")}, 60.0, cancellation);
    cancellation.throwIfCancelled();
    if (const QString* problem = std::get_if<QString>(&answer))
        return SnapListing{{}, *problem};
    const ProcessResult& result = std::get<ProcessResult>(answer);
    if (result.exitCode != 0)
        return SnapListing{{}, ProcessRunner::failureText(label, result)};
    return parse(result.standardOutput);
}

InstallCheck SnapApps::check(const QString& name, const ProcessRunner& runner,
                             const CancellationToken& cancellation) {
    if (!isName(name))
        return {InstallCheck::Case::unknown, name + QStringLiteral(" is not a snap's name")};
    if (!isInstalled())
        return {
            InstallCheck::Case::unknown,
            QStringLiteral("snap is not installed, so it cannot confirm that the snap is gone")};
    const QString label = QStringLiteral("snap list");
    const auto answer =
        runner.attempt(label, toolPath(), {QStringLiteral("list"), QStringLiteral("--"), name},
                       30.0, cancellation);
    cancellation.throwIfCancelled();
    if (const QString* problem = std::get_if<QString>(&answer))
        return {InstallCheck::Case::unknown, *problem};
    const ProcessResult& result = std::get<ProcessResult>(answer);
    if (result.exitCode == 0) {
        if (!parse(result.standardOutput).error && listsSnap(result.standardOutput, name))
            return {InstallCheck::Case::installed, {}};
        return {InstallCheck::Case::unknown,
                QStringLiteral("snap list printed something that does not name ") + name};
    }
    if (QString::fromUtf8(result.standardError).trimmed() ==
        QLatin1String("error: no matching snaps installed"))
        return {InstallCheck::Case::notInstalled, {}};
    return {InstallCheck::Case::unknown, ProcessRunner::failureText(label, result)};
}

QString SnapApps::dataRoot() {
    return QDir(Locations::homeDir()).filePath(QStringLiteral("snap"));
}

QString SnapApps::dataFolder(const QString& name) {
    return dataRoot() + u'/' + name;
}

} // namespace corvane
