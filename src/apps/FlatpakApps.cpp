#include "apps/FlatpakApps.h"

#include "platform/Locations.h"

#include <QDir>
#include <QFileInfo>

namespace corvane {

QString FlatpakApps::toolPath() {
    return Locations::toolPath(QStringLiteral("flatpak"), QStringLiteral("/usr/bin/flatpak"));
}

bool FlatpakApps::isInstalled() {
    const QFileInfo tool(toolPath());
    return tool.isFile() && tool.isExecutable();
}

QList<FlatpakApp> FlatpakApps::parse(const QByteArray& output) {
    QList<FlatpakApp> apps;
    const QStringList lines = QString::fromUtf8(output).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QStringList columns = line.split(QLatin1Char('\t'));
        const QString id = columns.value(0).trimmed();
        if (id.isEmpty())
            continue;
        const QString name = columns.value(1).trimmed();
        apps.append({id, name.isEmpty() ? id : name, columns.value(2).trimmed(),
                     columns.value(3).trimmed()});
    }
    return apps;
}

std::optional<QList<FlatpakApp>> FlatpakApps::list(const ProcessRunner& runner,
                                                   const CancellationToken& cancellation) {
    if (!isInstalled())
        return std::nullopt;
    try {
        const ProcessResult result =
            runner.run(toolPath(),
                       {QStringLiteral("list"), QStringLiteral("--app"),
                        QStringLiteral("--columns=application,name,version,installation")},
                       std::nullopt, {}, 60.0, cancellation);
        cancellation.throwIfCancelled();
        if (result.exitCode != 0)
            return std::nullopt;
        return parse(result.standardOutput);
    } catch (const ProcessRunnerError&) {
        return std::nullopt;
    }
}

QString FlatpakApps::dataRoot() {
    return QDir(Locations::homeDir()).filePath(QStringLiteral(".var/app"));
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
