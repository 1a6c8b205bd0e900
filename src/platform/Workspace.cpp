#include "platform/Workspace.h"

#include <QProcess>

namespace corvane::Workspace {

QString startDetached(const QString& name, const QString& program, const QStringList& arguments,
                      const QString& workingDirectory) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    // The child is reparented at once, so no zombie is left for the app to reap.
    if (process.startDetached())
        return {};
    return QStringLiteral("%1 could not be started: %2").arg(name, process.errorString());
}

} // namespace corvane::Workspace
