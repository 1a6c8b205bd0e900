#include "apps/SystemPackages.h"

#include "platform/Locations.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <variant>

namespace corvane {
namespace {

bool isExecutable(const QString& path) {
    const QFileInfo tool(path);
    return tool.isFile() && tool.isExecutable();
}

bool isDebianPackage(const QString& name) {
    static const QRegularExpression pattern(QStringLiteral("^[a-z0-9][a-z0-9+.-]+(:[a-z0-9-]+)?$"));
    return pattern.match(name).hasMatch();
}

bool isRpmPackage(const QString& name) {
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9_][A-Za-z0-9._+-]*$"));
    return pattern.match(name).hasMatch();
}

// What removes an rpm package here: the first of dnf, zypper and yum that is installed.
QString rpmRemover() {
    for (const char* name : {"dnf", "zypper", "yum"}) {
        const QString tool = QString::fromLatin1(name);
        if (isExecutable(Locations::toolPath(tool, QStringLiteral("/usr/bin/") + tool)))
            return tool + QStringLiteral(" remove");
    }
    return QStringLiteral("rpm -e");
}

QString firstLine(const QByteArray& text) {
    return QString::fromUtf8(text).trimmed().section(u'\n', 0, 0).left(160);
}

// Runs a package tool; its result, or why it could not run.
std::variant<ProcessResult, QString> ask(const ProcessRunner& runner, const QString& tool,
                                         const QStringList& arguments,
                                         const CancellationToken& cancellation) {
    return runner.attempt(QFileInfo(tool).fileName(), tool, arguments, 30.0, cancellation);
}

SystemPackages::Owner fromDpkg(const QString& file, const ProcessRunner& runner,
                               const CancellationToken& cancellation) {
    const auto answer = ask(runner, SystemPackages::dpkgPath(),
                            {QStringLiteral("-S"), QStringLiteral("--"), file}, cancellation);
    if (const QString* problem = std::get_if<QString>(&answer))
        return {std::nullopt, std::nullopt, *problem};
    const ProcessResult& result = std::get<ProcessResult>(answer);
    const std::optional<QString> package =
        result.exitCode == 0 ? SystemPackages::packageFromDpkg(result.standardOutput, file)
                             : std::nullopt;
    if (!package)
        return {std::nullopt, std::nullopt,
                QStringLiteral("dpkg names no single package for it (%1)")
                    .arg(firstLine(result.standardError + result.standardOutput))};
    return {package, QStringLiteral("sudo apt remove ") + *package, {}};
}

SystemPackages::Owner fromRpm(const QString& file, const ProcessRunner& runner,
                              const CancellationToken& cancellation) {
    const auto answer = ask(runner, SystemPackages::rpmPath(),
                            {QStringLiteral("-qf"), QStringLiteral("--queryformat"),
                             QStringLiteral("%{NAME}\\n"), QStringLiteral("--"), file},
                            cancellation);
    if (const QString* problem = std::get_if<QString>(&answer))
        return {std::nullopt, std::nullopt, *problem};
    const ProcessResult& result = std::get<ProcessResult>(answer);
    const std::optional<QString> package =
        result.exitCode == 0 ? SystemPackages::packageFromRpm(result.standardOutput) : std::nullopt;
    if (!package)
        return {std::nullopt, std::nullopt,
                QStringLiteral("rpm names no single package for it (%1)")
                    .arg(firstLine(result.standardOutput + result.standardError))};
    return {package, QStringLiteral("sudo %1 %2").arg(rpmRemover(), *package), {}};
}

} // namespace

QString SystemPackages::dpkgPath() {
    return Locations::toolPath(QStringLiteral("dpkg"), QStringLiteral("/usr/bin/dpkg"));
}

QString SystemPackages::rpmPath() {
    return Locations::toolPath(QStringLiteral("rpm"), QStringLiteral("/usr/bin/rpm"));
}

std::optional<QString> SystemPackages::packageFromDpkg(const QByteArray& output,
                                                       const QString& file) {
    std::optional<QString> found;
    const QStringList lines = QString::fromUtf8(output).split(u'\n', Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        // "diversion by x from: <path>" lines say who moved a file, not who installed it.
        if (line.startsWith(QLatin1String("diversion by ")))
            continue;
        const qsizetype colon = line.lastIndexOf(QStringLiteral(": "));
        if (colon <= 0 || line.mid(colon + 2) != file)
            continue;
        const QString owners = line.left(colon);
        if (owners.contains(u',') || !isDebianPackage(owners) || (found && *found != owners))
            return std::nullopt;
        found = owners;
    }
    return found;
}

std::optional<QString> SystemPackages::packageFromRpm(const QByteArray& output) {
    const QStringList names = QString::fromUtf8(output).split(u'\n', Qt::SkipEmptyParts);
    if (names.size() != 1 || !isRpmPackage(names.first().trimmed()))
        return std::nullopt;
    return names.first().trimmed();
}

SystemPackages::Owner SystemPackages::ownerOf(const QString& file, const ProcessRunner& runner,
                                              const CancellationToken& cancellation) {
    // dpkg reads "*", "?", "[" and "\" as a pattern, which could name other files' packages.
    static const QRegularExpression pattern(QStringLiteral("[*?\\[\\\\]"));
    if (isExecutable(dpkgPath())) {
        if (pattern.match(file).hasMatch())
            return {std::nullopt, std::nullopt,
                    QStringLiteral("its file name cannot be looked up with dpkg")};
        return fromDpkg(file, runner, cancellation);
    }
    if (isExecutable(rpmPath()))
        return fromRpm(file, runner, cancellation);
    return {std::nullopt, std::nullopt, QStringLiteral("neither dpkg nor rpm is installed")};
}

} // namespace corvane
