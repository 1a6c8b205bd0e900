#include "platform/Locations.h"
#include "platform/Workspace.h"

#include <QFileInfo>

namespace corvane::Workspace {

QString reveal(const QStringList& paths) {
    if (paths.isEmpty())
        return {};
    return startDetached(QStringLiteral("Finder"), Locations::toolPath(Locations::Tool::open),
                         QStringList{QStringLiteral("-R"), QStringLiteral("--")} + paths);
}

QString openTerminal(const QString& path) {
    const QFileInfo info(path);
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    return startDetached(
        QStringLiteral("Terminal"), Locations::toolPath(Locations::Tool::open),
        {QStringLiteral("-a"), QStringLiteral("Terminal"), QStringLiteral("--"), folder});
}

} // namespace corvane::Workspace
